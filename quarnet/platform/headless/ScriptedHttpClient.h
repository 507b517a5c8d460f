#pragma once

#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/headless/ReceivedRequest.h"
#include "quarnet/platform/headless/ScriptedAnswers.h"

#include <string>
#include <vector>

namespace quarnet::platform {

/// A transport without a network: answers as a test says, and keeps what it received.
///
///     http.on("GET", "https://api.example/v1/places").answer("[]");
///     http.on("POST", "https://api.example/v1/photos").answer("busy", 503).answer("{}");
///     http.on("", "https://slow.example/").after(2s).answer("at last");
///
/// Of several rules that match a request the one that was begun last counts, so that a test can
/// replace what its fixture has set up. A request that no rule matches fails, and is listed in
/// unexpected().
///
/// Completions of asynchronous sends run on one thread of this object's own. Time is moved by hand:
/// an answer with a delay waits for advance(), and so does the time-out of a request that gets
/// none. Blocking sends do not wait: for them the time has passed already. An asynchronous one
/// whose token is asked to stop fails at once; if it was stopped before, nothing is received.
///
/// Safe from any thread.
class QUARNET_EXPORT ScriptedHttpClient final : public HttpClient {
public:
  /// Without rules: every request fails.
  ScriptedHttpClient();
  /// Ends what is still waiting as dropConnections() does.
  ~ScriptedHttpClient() override;

  /// Begins a rule for the requests of that method (empty for any) to an address that starts with
  /// `address`; without answers it matches nothing.
  ScriptedAnswers on(std::string method, std::string address);
  /// Begins a rule for the requests for which `matches` is true.
  ScriptedAnswers on(std::function<bool(const ReceivedRequest&)> matches);

  /// Begins the rules of a server that grants whatever the session asks for: new tokens for every
  /// token request, the revocation, and a key for the parameters of each GET and DELETE.
  void answerSession();
  /// A token answer with an hour to live and tokens that no answer before had: "access-1" and
  /// "refresh-1", "access-2" and "refresh-2", ...
  Data newTokenAnswer();

  /// All requests so far, in the order of their sending: those for keys and tokens, too, if no
  /// address is given.
  std::vector<ReceivedRequest> received(std::string_view method = "",
                                        std::string_view address = "") const;
  /// The method and the address, without its query, of each request that no rule matched.
  std::vector<std::string> unexpected() const;

  /// The addresses for which a connection was to be opened ahead, in the order of the wishes.
  std::vector<std::string> openedConnections() const;

  /// Moves the time. The answers that are due by then come in the order of their times.
  void advance(std::chrono::milliseconds time);
  /// All asynchronous requests that wait for an answer now fail, as when the network goes away.
  void dropConnections();
  /// Waits until every answer that is due was given and its completion has returned. Not for
  /// completions.
  void waitUntilIdle();

  HttpResult sendSynchronously(const HttpRequest& request) override;
  void sendAsynchronously(std::shared_ptr<const HttpRequest> request,
                          Completion completion) override;
  void openConnection(const std::string& url) override;

private:
  struct __attribute__((visibility("hidden"))) State;
  const std::unique_ptr<State> state_;
};

} // namespace quarnet::platform
