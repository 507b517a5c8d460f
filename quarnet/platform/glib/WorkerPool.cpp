#include "quarnet/platform/glib/WorkerPool.h"

#include "quarnet/platform/Guarded.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <glib.h>
#include <mutex>
#include <system_error>
#include <utility>

namespace quarnet::platform {
namespace {

/// GLib's hand-over of a pool's state to its threads, made visible to ThreadSanitizer, which does
/// not see GLib's own locks.
constinit std::atomic<unsigned> handedOver = 0;

} // namespace

/// The calls wait here and not in GLib's own queue: a thread that is awake takes one after the
/// other, and the destructor must know when the last one has ended, what it held included, without
/// waiting for the thread that it runs on itself.
struct WorkerPool::State : std::enable_shared_from_this<State> {
  explicit State(unsigned threadCount) : size(threadCount) {}

  const unsigned size;
  GThreadPool* threads = nullptr;
  std::mutex mutex;
  std::condition_variable ended;
  std::deque<std::function<void()>> calls;
  std::size_t unfinished = 0;
  /// How many threads are awake or have been woken.
  unsigned awake = 0;
  bool closed = false;

  /// The pool whose call this thread is running.
  static thread_local const State* current;

  void runAll() {
    const std::shared_ptr<State> self = shared_from_this();
    std::unique_lock lock(mutex);
    while (!calls.empty()) {
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
    --awake;
    ended.notify_all();
  }

  /// Whether nothing is left to run and no thread will look for it, the asking one aside.
  bool idle() const {
    const unsigned own = current == this ? 1 : 0;
    return unfinished == own && awake == own;
  }
};

constinit thread_local const WorkerPool::State* WorkerPool::State::current = nullptr;

WorkerPool::WorkerPool(unsigned threads) : state_(std::make_shared<State>(threads)) {
  GError* error = nullptr;
  state_->threads = g_thread_pool_new(
      [](gpointer, gpointer state) {
        handedOver.load(std::memory_order_acquire);
        static_cast<State*>(state)->runAll();
      },
      state_.get(), static_cast<gint>(threads), TRUE, &error);
  if (error == nullptr) return;
  g_error_free(error);
  g_thread_pool_free(state_->threads, TRUE, FALSE);
  throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
}

WorkerPool::~WorkerPool() {
  {
    std::unique_lock lock(state_->mutex);
    state_->ended.wait(lock, [this] { return state_->idle(); });
  }
  g_thread_pool_free(state_->threads, FALSE, FALSE);
}

void WorkerPool::run(std::vector<std::function<void()>> calls) {
  unsigned woken = 0;
  {
    const std::lock_guard lock(state_->mutex);
    for (auto& call : calls) {
      state_->calls.push_back(std::move(call));
      ++state_->unfinished;
    }
    woken = std::min<unsigned>(state_->size - state_->awake, static_cast<unsigned>(calls.size()));
    state_->awake += woken;
  }
  handedOver.fetch_add(1, std::memory_order_release);
  for (; woken > 0; --woken)
    g_thread_pool_push(state_->threads, state_.get(), nullptr);
}

void WorkerPool::finish(std::chrono::milliseconds limit) {
  std::unique_lock lock(state_->mutex);
  state_->ended.wait_for(lock, limit, [this] { return state_->idle(); });
  state_->closed = true;
}

} // namespace quarnet::platform
