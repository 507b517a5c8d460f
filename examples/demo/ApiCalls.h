#pragma once

#include <functional>
#include <quarnet/quarnet.h>
#include <string>

namespace demo {

/// How a call ended, in words for the user.
struct Answer {
  bool ok = false;
  /// The access token has expired or was revoked.
  bool signedOut = false;
  std::string text;
};

/// The three calls of this application. One at a time; the answer comes on the main thread.
class ApiCalls {
public:
  using Done = std::function<void(const Answer&)>;

  ApiCalls();
  ~ApiCalls();
  ApiCalls(const ApiCalls&) = delete;
  ApiCalls& operator=(const ApiCalls&) = delete;

  bool busy() const { return done_ != nullptr; }

  void whoAmI(Done done);
  void search(const std::string& keyword, Done done);
  void upload(const std::string& file, Done done);

private:
  void send(quarnet::RequestBundle& bundle, const std::string& path, quarnet::HttpMethod method,
            Done done);
  void finished(const quarnet::ResultDictionary& result);
  void failed(const quarnet::ResultDictionary& result);
  void answer(const Answer& answer);

  quarnet::APIRequest request_;
  Done done_;
};

} // namespace demo
