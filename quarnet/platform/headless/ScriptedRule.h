#pragma once

#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/headless/ReceivedRequest.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace quarnet::platform {

// libcurl's numbers for them, as applications know them from the real transport.
inline constexpr int kCouldNotConnect = 7;
inline constexpr int kTimedOut = 28;
inline constexpr int kCancelled = 42;

/// A transport error of that number.
inline HttpResult failedAnswer(int code, std::string description) {
  return {.response = std::nullopt,
          .body = {},
          .error = Error{"quarnet.http", code, std::move(description)},
          .failure = code == kTimedOut ? HttpFailure::TimedOut : HttpFailure::NoConnection};
}

/// One rule, shared with whoever still adds answers to it.
struct ScriptedRule {
  using Make = std::function<HttpResult(const ReceivedRequest&)>;
  struct Answer {
    std::chrono::milliseconds delay{0};
    Make make;
  };

  explicit ScriptedRule(std::function<bool(const ReceivedRequest&)> condition)
      : matches(std::move(condition)) {}

  void add(Answer answer) {
    const std::lock_guard lock(mutex);
    answers.push_back(std::move(answer));
  }

  /// Absent when there is none at all.
  std::optional<Answer> next() {
    const std::lock_guard lock(mutex);
    if (answers.empty()) return std::nullopt;
    const std::size_t place = std::min(used++, answers.size() - 1);
    return answers[place];
  }

  const std::function<bool(const ReceivedRequest&)> matches;
  std::mutex mutex;
  std::vector<Answer> answers;
  std::size_t used = 0;
};

} // namespace quarnet::platform
