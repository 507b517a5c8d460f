#pragma once

#include "quarnet/client/Call.h"
#include "quarnet/client/Client.h"
#include "quarnet/client/Timer.h"
#include "quarnet/platform/HttpClient.h"

#include <memory>

namespace quarnet {

/// The way of one call from send() to its outcome: fresh tokens, the one-time key, the request, and
/// from the start again after a 401 or before a retry. Whatever it waits for keeps it alive; at
/// most one step is under way at a time.
class CallRun : public std::enable_shared_from_this<CallRun> {
public:
  CallRun(Call call, std::shared_ptr<const ClientOptions> options,
          std::shared_ptr<Outcome<Answer>> outcome);
  ~CallRun();
  CallRun(const CallRun&) = delete;
  CallRun& operator=(const CallRun&) = delete;

  void start();

private:
  using Step = void (CallRun::*)();

  /// Runs a step, unless the call has ended; what is too large for the memory is its outcome.
  void run(Step step);
  /// The same with an answer to it.
  template <void (CallRun::*kStep)(platform::HttpResult)>
  platform::HttpClient::Completion then();

  void prepare();
  void freshen();
  void begin();
  void takeKey(platform::HttpResult answer);
  void transmit(std::string_view query);
  void sendWithTokens();
  void takeAnswer(platform::HttpResult answer);
  void renew();
  /// Sends the call once more after a pause, or ends it.
  void fail(ApiError error, std::chrono::seconds retryAfter = {});
  void end(Result<Answer> result);
  void send(std::shared_ptr<platform::HttpRequest> request,
            platform::HttpClient::Completion completion);

  /// Until it is prepared: thousands of calls may wait with what is kept of them.
  std::unique_ptr<Call> call_;
  const HttpMethod method_;
  const ContentFormat responseType_;
  const Retry retry_;
  const std::shared_ptr<const ClientOptions> options_;
  const std::shared_ptr<Outcome<Answer>> outcome_;
  Timer::Entry deadline_;
  /// As it was sent last, or without key and tokens before.
  std::shared_ptr<platform::HttpRequest> request_;
  /// Of its address without the query.
  std::size_t addressLength_ = 0;
  /// Of GET and DELETE, escaped.
  Text parameters_;
  unsigned retries_ = 0;
  bool hasBegun_ = false;
  bool wasRenewed_ = false;
};

} // namespace quarnet
