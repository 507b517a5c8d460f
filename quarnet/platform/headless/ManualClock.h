#pragma once

#include "quarnet/platform/Clock.h"

#include <atomic>
#include <chrono>

namespace quarnet::platform {

/// A clock that stands still until a test moves it.
class QUARNET_EXPORT ManualClock final : public Clock {
public:
  /// Seconds since 1970-01-01 00:00:00 UTC. Starts in November 2023.
  std::atomic<double> now = 1'700'000'000;

  /// Moves it on.
  void advance(std::chrono::milliseconds time) {
    now = now + std::chrono::duration<double>(time).count();
  }
  double secondsSince1970() override { return now; }
};

} // namespace quarnet::platform
