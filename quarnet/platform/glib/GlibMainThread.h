#pragma once

#include "quarnet/platform/MainThread.h"

#include <chrono>
#include <memory>

namespace quarnet::platform {

/// Delivery on the default GLib main context, which GTK applications and, on Linux, Qt applications
/// run by themselves. The main thread is the one that runs that context.
class QUARNET_EXPORT GlibMainThread final : public MainThread {
public:
  /// For the default context, on whatever thread that will run.
  GlibMainThread();
  /// What was posted runs all the same.
  ~GlibMainThread() override;

  void post(std::function<void()> call) override;

  /// For programs without a main loop and for tests: runs what is queued on the default context and
  /// waits for more until `done()`, asked after each step and every 10 milliseconds, is true or the
  /// time is up. Call it on the main thread. Returns the last `done()`.
  static bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

private:
  struct Queue;
  const std::shared_ptr<Queue> queue_;
};

} // namespace quarnet::platform
