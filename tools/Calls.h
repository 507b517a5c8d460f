#pragma once

#include "tools/ProgressLine.h"

#include "quarnet/client/Client.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::tools {

/// Sends one call, or the same one over and over, and shows how the calls ended.
class Calls {
public:
  struct Options {
    /// One line of JSON a call in place of the answers' texts.
    bool json = false;
    std::size_t repeat = 1;
    std::size_t inFlight = 1;
    /// Where the answer of a single call goes in place of standard output.
    std::optional<std::string> output = {};
  };

  Calls(Call call, Options options);

  /// To be run on the main thread. An ExitCode; kDone when every call was answered, kSignedOut when
  /// none failed for another reason than that.
  int run();

private:
  using Clock = std::chrono::steady_clock;

  void send(Handle& place);
  void ended(Clock::time_point sent, const Result<Answer>& result);
  void show(const Result<Answer>& result);
  void showHead(const std::string& head);
  void showProgress();
  void showSummary(std::chrono::duration<double> elapsed);
  bool isMany() const { return options_.repeat > 1; }
  std::size_t answered() const { return latencies_.size(); }

  Call call_;
  Options options_;
  Client client_;
  ProgressLine line_;
  Progress progress_;
  std::size_t sent_ = 0;
  std::size_t failed_ = 0;
  std::size_t signedOut_ = 0;     ///< of those that failed
  std::vector<double> latencies_; ///< milliseconds, in the order of the answers
  std::vector<Handle> handles_;
};

} // namespace quarnet::tools
