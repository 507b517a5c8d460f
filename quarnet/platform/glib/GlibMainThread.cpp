#include "quarnet/platform/glib/GlibMainThread.h"

#include "quarnet/platform/Guarded.h"

#include <algorithm>
#include <atomic>
#include <glib.h>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr guint kLongestSleepInMilliseconds = 10;

/// Makes GLib's hand-over of a call to the main thread visible to ThreadSanitizer, which does not
/// see GLib's own locks.
constinit std::atomic<unsigned> handedOver = 0;

gboolean runPosted(gpointer call) {
  handedOver.load(std::memory_order_acquire);
  runGuarded(*static_cast<std::function<void()>*>(call));
  return G_SOURCE_REMOVE;
}

void destroyPosted(gpointer call) {
  delete static_cast<std::function<void()>*>(call);
}

} // namespace

void GlibMainThread::post(std::function<void()> call) {
  auto* const posted = new std::function<void()>(std::move(call));
  handedOver.fetch_add(1, std::memory_order_release);
  // A source for each call: while one runs the loop itself, the next ones run there in their order.
  g_idle_add_full(G_PRIORITY_DEFAULT, runPosted, posted, destroyPosted);
}

bool GlibMainThread::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
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
