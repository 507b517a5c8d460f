#pragma once

#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/curl/EventLoop.h"
#include "quarnet/platform/glib/WorkerPool.h"

#include <memory>

namespace quarnet::platform {

/// The threads of one client: one for the transfers, two for the completions.
///
/// When the process ends by exit() or by returning from main, what is under way fails with the
/// description "The process is ending", and its completions are waited for, five seconds at most.
class Background {
public:
  /// Throws std::system_error when no thread can be made. `trust` must outlive the loop.
  static std::shared_ptr<Background> make(TrustStore& trust, std::size_t maximumBodySize);

  /// Fails what is under way and waits for its completions.
  ~Background();

  EventLoop& loop() { return loop_; }

private:
  Background(TrustStore& trust, std::size_t maximumBodySize);
  static void endAll();

  const unsigned forks_ = forkCount();
  WorkerPool workers_;
  EventLoop loop_;
};

} // namespace quarnet::platform
