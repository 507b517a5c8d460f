#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace quarnet {

/// Runs calls at their times, on one thread of its own, which is made with the first call. A call
/// must be short. Safe from any thread.
class Timer {
public:
  using Clock = std::chrono::steady_clock;
  /// Names a call that waits.
  using Entry = std::pair<Clock::time_point, std::uint64_t>;

  /// One for the process, never destroyed; a forked child has its own.
  static Timer& shared();

  /// When no thread can be made, the call never runs and the entry's number is 0.
  Entry at(Clock::time_point time, std::function<void()> call);

  /// Forgets the call if it has not begun.
  void forget(const Entry& entry);

private:
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<Entry, std::function<void()>> calls_;
  std::uint64_t last_ = 0;
  bool hasThread_ = false;
};

} // namespace quarnet
