#pragma once

#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/WorkerPool.h"
#include "quarnet/platform/curl/EventLoop.h"

#include <memory>

namespace quarnet::platform {

/// The threads of one client: one for the transfers, two for the completions.
///
/// When the process ends by exit() or by returning from main, the sends that have not ended fail
/// with the description "The process is ending", and their completions are waited for, five seconds
/// at most.
class Background {
public:
  /// Throws std::system_error when no thread can be made. `trust` must outlive the loop.
  static std::shared_ptr<Background> make(TrustStore& trust, std::size_t maximumBodySize);

  /// Fails the sends that have not ended and waits for their completions.
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
