#include "quarnet/platform/glib/WorkerPool.h"

#include "quarnet/platform/glib/Guarded.h"

#include <condition_variable>
#include <deque>
#include <glib.h>
#include <mutex>
#include <utility>

namespace quarnet::platform {

/// The calls wait here and not in GLib's own queue: the destructor must know when the last one has
/// ended, what it held included, without waiting for the thread that it runs on itself.
struct WorkerPool::State : std::enable_shared_from_this<State> {
  GThreadPool* threads = nullptr;
  std::mutex mutex;
  std::condition_variable ended;
  std::deque<std::function<void()>> calls;
  std::size_t unfinished = 0;
  bool closed = false;

  /// The pool whose call this thread is running.
  static thread_local const State* current;

  void runNext() {
    const std::shared_ptr<State> self = shared_from_this();
    std::unique_lock lock(mutex);
    std::function<void()> call = std::move(calls.front());
    calls.pop_front();
    const bool skip = closed;
    lock.unlock();
    current = this;
    if (!skip) runGuarded(call);
    call = nullptr;
    current = nullptr;
    lock.lock();
    --unfinished;
    ended.notify_all();
  }

  bool idle() const { return unfinished == (current == this ? 1U : 0U); }
};

constinit thread_local const WorkerPool::State* WorkerPool::State::current = nullptr;

WorkerPool::WorkerPool(unsigned threads) : state_(std::make_shared<State>()) {
  state_->threads =
      g_thread_pool_new([](gpointer, gpointer state) { static_cast<State*>(state)->runNext(); },
                        state_.get(), static_cast<gint>(threads), TRUE, nullptr);
}

WorkerPool::~WorkerPool() {
  {
    std::unique_lock lock(state_->mutex);
    state_->ended.wait(lock, [this] { return state_->idle(); });
  }
  g_thread_pool_free(state_->threads, FALSE, FALSE);
}

void WorkerPool::run(std::function<void()> call) {
  {
    const std::lock_guard lock(state_->mutex);
    state_->calls.push_back(std::move(call));
    ++state_->unfinished;
  }
  g_thread_pool_push(state_->threads, state_.get(), nullptr);
}

void WorkerPool::finish(std::chrono::milliseconds limit) {
  std::unique_lock lock(state_->mutex);
  state_->ended.wait_for(lock, limit, [this] { return state_->idle(); });
  state_->closed = true;
}

} // namespace quarnet::platform
