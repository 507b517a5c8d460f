#include "quarnet/platform/glib/GlibMainThread.h"

#include <deque>
#include <glib.h>
#include <mutex>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr guint kLongestSleepInMilliseconds = 10;

} // namespace

/// What is waiting to run. A batch of posts costs one source on the context, not one each.
struct GlibMainThread::Queue {
  std::mutex mutex;
  std::deque<std::function<void()>> calls;
  bool scheduled = false;
};

GlibMainThread::GlibMainThread() : queue_(std::make_shared<Queue>()) {}

GlibMainThread::~GlibMainThread() = default;

void GlibMainThread::post(std::function<void()> call) {
  {
    const std::lock_guard lock(queue_->mutex);
    queue_->calls.push_back(std::move(call));
    if (std::exchange(queue_->scheduled, true)) return;
  }
  // The source keeps the queue alive, so that a post outlives this object.
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        Queue& queue = **static_cast<std::shared_ptr<Queue>*>(data);
        std::deque<std::function<void()>> batch;
        {
          const std::lock_guard lock(queue.mutex);
          batch.swap(queue.calls);
          queue.scheduled = false;
        }
        for (auto& queued : batch)
          queued();
        return G_SOURCE_REMOVE;
      },
      new std::shared_ptr<Queue>(queue_),
      [](gpointer data) { delete static_cast<std::shared_ptr<Queue>*>(data); });
}

bool GlibMainThread::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const gint64 deadline = g_get_monotonic_time() + limit.count() * 1000;
  // Wakes the context now and then: what `done` looks at may change on another thread.
  GSource* alarm = g_timeout_source_new(kLongestSleepInMilliseconds);
  g_source_set_callback(
      alarm, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(alarm, nullptr);
  bool isDone = done();
  while (!isDone && g_get_monotonic_time() < deadline) {
    g_main_context_iteration(nullptr, TRUE);
    isDone = done();
  }
  g_source_destroy(alarm);
  g_source_unref(alarm);
  return isDone;
}

} // namespace quarnet::platform
