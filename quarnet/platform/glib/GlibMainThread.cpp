#include "quarnet/platform/glib/GlibMainThread.h"

#include "quarnet/platform/Guarded.h"

#include <algorithm>
#include <deque>
#include <glib.h>
#include <mutex>
#include <utility>

namespace quarnet::platform {
/// The calls that wait. One source on the context runs them all: a source for each would make an
/// asynchronous call 10 % dearer when thousands of them end at once.
struct GlibMainThread::Queue {
  std::mutex mutex;
  std::deque<std::function<void()>> calls;
  /// The queue itself while it has a source, so that the posts outlive the object that took them.
  /// The source has a plain pointer: nothing but the mutex hands data from thread to thread, since
  /// ThreadSanitizer does not see GLib's locks.
  std::shared_ptr<Queue> scheduled;

  /// Runs what waits now. What is posted meanwhile runs after the context's other sources.
  static gboolean run(gpointer data) {
    Queue& queue = *static_cast<Queue*>(data);
    std::shared_ptr<Queue> kept; // ends without the lock
    std::unique_lock lock(queue.mutex);
    kept = queue.scheduled;
    // Taken out one by one: a call may run the loop itself, and there the next ones run.
    for (std::size_t left = queue.calls.size(); left > 0 && !queue.calls.empty(); --left) {
      std::function<void()> call = std::move(queue.calls.front());
      queue.calls.pop_front();
      lock.unlock();
      runGuarded(call);
      call = nullptr; // what it held may post when it ends
      lock.lock();
    }
    // A loop within a call has run everything and ended the source; there may be a new one by now.
    if (g_source_is_destroyed(g_main_current_source())) return G_SOURCE_REMOVE;
    if (queue.calls.empty()) queue.scheduled = nullptr;
    return queue.scheduled != nullptr ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  }
};

GlibMainThread::GlibMainThread() : queue_(std::make_shared<Queue>()) {}

GlibMainThread::~GlibMainThread() = default;

void GlibMainThread::post(std::function<void()> call) {
  // Once the call can run, this object may end.
  Queue* const queue = queue_.get();
  {
    const std::lock_guard lock(queue->mutex);
    queue->calls.push_back(std::move(call));
    if (std::exchange(queue->scheduled, queue_)) return;
  }
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_can_recurse(source, TRUE);
  g_source_set_callback(source, &Queue::run, queue, nullptr);
  g_source_attach(source, nullptr);
  g_source_unref(source);
}

bool GlibMainThread::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  constexpr guint kLongestSleepInMilliseconds = 10;
  const gint64 longest = (G_MAXINT64 - g_get_monotonic_time()) / 1000;
  const gint64 deadline =
      g_get_monotonic_time() + std::min<gint64>(limit.count(), longest - 1) * 1000;
  // Wakes the context now and then: what `done` looks at may change on another thread.
  const guint alarm = g_timeout_add(
      kLongestSleepInMilliseconds, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  bool isDone = done();
  while (!isDone && g_get_monotonic_time() < deadline) {
    g_main_context_iteration(nullptr, TRUE);
    isDone = done();
  }
  g_source_remove(alarm);
  return isDone;
}

} // namespace quarnet::platform
