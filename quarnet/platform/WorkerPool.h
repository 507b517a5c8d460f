#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace quarnet::platform {

/// A fixed number of background threads that run calls in the order in which they came.
///
/// An exception that leaves a call is written to the log as one line and ends there. The
/// threads take over the signal mask of their maker. Every operation may be called from any thread,
/// a call's own included.
class WorkerPool {
public:
  /// Throws std::system_error when not all of them can be made.
  explicit WorkerPool(unsigned threads);
  /// Waits for the calls that were queued; destroyed by a call of its own, for all but that one.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// Queues the calls; after finish(), runs them on the caller's thread.
  void run(std::vector<std::function<void()>> calls);

  /// Waits until all calls have ended; from within a call, all others, which it helps to run.
  void waitUntilIdle();

  /// Waits until all calls have ended (from within a call: all others) or the time is up; after
  /// that no queued call is begun.
  void finish(std::chrono::milliseconds limit);

private:
  struct State;
  /// Whether the calling thread is one of the pool's.
  bool isOwnThread() const;
  void endThreads();

  /// Shared with the threads: the one that destroys the pool outlives it.
  const std::shared_ptr<State> state_;
  std::vector<std::thread> threads_;
};

} // namespace quarnet::platform
