#include "quarnet/platform/headless/ScriptedAnswers.h"

#include "quarnet/platform/headless/ScriptedRule.h"

#include <utility>

namespace quarnet::platform {

using std::chrono::milliseconds;

ScriptedAnswers& ScriptedAnswers::answer(Data body, long status) {
  return answer([result = HttpResult{.response = HttpResponse{status},
                                     .body = std::move(body),
                                     .error = std::nullopt}](const auto&) { return result; });
}

ScriptedAnswers& ScriptedAnswers::answer(std::function<HttpResult(const ReceivedRequest&)> make) {
  rule_->add({.delay = std::exchange(delay_, milliseconds(0)), .make = std::move(make)});
  return *this;
}

ScriptedAnswers& ScriptedAnswers::fail(std::string description) {
  return answer([result = failedAnswer(kCouldNotConnect, std::move(description))](const auto&) {
    return result;
  });
}

ScriptedAnswers& ScriptedAnswers::hang() {
  constexpr std::chrono::hours kLongerThanAnyTimeout(24 * 365);
  return after(kLongerThanAnyTimeout).fail("");
}

ScriptedAnswers& ScriptedAnswers::after(milliseconds delay) {
  delay_ = delay;
  return *this;
}

} // namespace quarnet::platform
