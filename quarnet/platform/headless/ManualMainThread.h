#pragma once

#include "quarnet/platform/MainThread.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace quarnet::platform {

/// A main thread without a loop: what is posted waits until a test runs it. The main thread is the
/// one that calls runPending() or runUntil(). What a call throws reaches the test.
class QUARNET_EXPORT ManualMainThread final : public MainThread {
public:
  void post(std::function<void()> call) override;

  /// Runs what is queued and what that queues. Returns how many calls ran.
  std::size_t runPending();

  /// Drops what is queued.
  void dropPending();

  /// Runs what is queued and waits for more until `done()`, asked before each call and every 10
  /// milliseconds, is true or the time is up. Returns the last `done()`.
  bool runUntil(const std::function<bool()>& done,
                std::chrono::milliseconds limit = std::chrono::seconds(10));

private:
  /// Whether there was one.
  bool runNext();

  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> calls_;
};

} // namespace quarnet::platform
