#pragma once

#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/headless/ReceivedRequest.h"

namespace quarnet::platform {

struct ScriptedRule;

/// What the requests of one rule get: the first answer is for the first request and so on; the last
/// one is for all that follow.
class QUARNET_EXPORT ScriptedAnswers {
public:
  /// Of what ScriptedHttpClient::on() begins.
  explicit ScriptedAnswers(std::shared_ptr<ScriptedRule> rule) : rule_(std::move(rule)) {}

  /// A whole answer.
  ScriptedAnswers& answer(Data body, long status = 200);
  /// What the function makes of the request, on the thread that sends it.
  ScriptedAnswers& answer(std::function<HttpResult(const ReceivedRequest&)> make);
  /// A transport error.
  ScriptedAnswers& fail(std::string description);
  /// Nothing, until the request's own time is up.
  ScriptedAnswers& hang();
  /// Delays the next answer by that much of the time that ScriptedHttpClient::advance() moves.
  ScriptedAnswers& after(std::chrono::milliseconds delay);

private:
  std::shared_ptr<ScriptedRule> rule_;
  std::chrono::milliseconds delay_{0};
};

} // namespace quarnet::platform
