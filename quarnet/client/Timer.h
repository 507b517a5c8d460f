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

  /// Runs all calls now, on this thread, the last one first, so that the time of an API call is up
  /// before it would be sent again; waits for the one that runs already. For the end of a test.
  void runAll();

private:
  using Calls = std::map<Entry, std::function<void()>>;

  void run();
  /// Runs and ends a call without the lock.
  static void runNow(Calls::node_type due, std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::condition_variable changed_;
  Calls calls_;
  std::uint64_t last_ = 0;
  bool hasThread_ = false;
  /// Whether the thread runs a call.
  bool isRunning_ = false;
};

} // namespace quarnet
