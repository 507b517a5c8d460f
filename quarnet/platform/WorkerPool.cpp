#include "quarnet/platform/WorkerPool.h"

#include "quarnet/platform/Guarded.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace quarnet::platform {

struct WorkerPool::State {
  std::mutex mutex;
  std::condition_variable arrived;
  std::condition_variable ended;
  std::deque<std::function<void()>> calls;
  /// How many calls are queued or running.
  std::size_t unfinished = 0;
  /// No further call is begun.
  bool isClosed = false;
  /// The threads end when nothing is queued.
  bool isEnding = false;

  void runAll() {
    std::unique_lock lock(mutex);
    for (;;) {
      arrived.wait(lock, [this] { return isEnding || !calls.empty(); });
      if (calls.empty()) return;
      runNext(lock);
    }
  }

  void runNext(std::unique_lock<std::mutex>& lock) {
    std::function<void()> call = std::move(calls.front());
    calls.pop_front();
    const bool isSkipped = isClosed;
    lock.unlock();
    if (!isSkipped) runGuarded(call);
    // What the call held is destroyed before it counts as finished.
    call = nullptr;
    lock.lock();
    --unfinished;
    ended.notify_all();
  }
};

WorkerPool::WorkerPool(unsigned threads) : state_(std::make_shared<State>()) {
  try {
    for (unsigned i = 0; i < threads; ++i)
      threads_.emplace_back([state = state_] { state->runAll(); });
  } catch (...) {
    endThreads();
    throw;
  }
}

WorkerPool::~WorkerPool() {
  waitUntilIdle();
  endThreads();
}

void WorkerPool::run(std::vector<std::function<void()>> calls) {
  const std::size_t most = std::min(calls.size(), threads_.size());
  bool isClosed = false;
  {
    const std::lock_guard lock(state_->mutex);
    isClosed = state_->isClosed;
    if (!isClosed) {
      state_->unfinished += calls.size();
      std::move(calls.begin(), calls.end(), std::back_inserter(state_->calls));
    }
  }
  if (isClosed) {
    for (const std::function<void()>& call : calls)
      runGuarded(call);
    return;
  }
  for (std::size_t i = 0; i < most; ++i)
    state_->arrived.notify_one();
}

void WorkerPool::waitUntilIdle() {
  std::unique_lock lock(state_->mutex);
  const std::size_t own = isOwnThread() ? 1 : 0;
  // There may be no other thread to run what is queued.
  while (own == 1 && !state_->calls.empty())
    state_->runNext(lock);
  state_->ended.wait(lock, [&] { return state_->unfinished == own; });
}

void WorkerPool::finish(std::chrono::milliseconds limit) {
  std::unique_lock lock(state_->mutex);
  const std::size_t own = isOwnThread() ? 1 : 0;
  state_->ended.wait_for(lock, limit, [&] { return state_->unfinished == own; });
  state_->isClosed = true;
}

bool WorkerPool::isOwnThread() const {
  return std::any_of(threads_.begin(), threads_.end(), [](const std::thread& thread) {
    return thread.get_id() == std::this_thread::get_id();
  });
}

void WorkerPool::endThreads() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->isEnding = true;
  }
  state_->arrived.notify_all();
  for (std::thread& thread : threads_) {
    const bool isOwn = thread.get_id() == std::this_thread::get_id();
    isOwn ? thread.detach() : thread.join();
  }
}

} // namespace quarnet::platform
