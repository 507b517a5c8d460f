#pragma once

#include "quarnet/core/Export.h"

namespace quarnet::platform {

/// 2001-01-01 00:00:00 UTC, in seconds since 1970-01-01 00:00:00 UTC.
inline constexpr double kReferenceDate = 978'307'200.0;

/// Tells the time. Safe from any thread; throws nothing.
class QUARNET_EXPORT Clock {
public:
  virtual ~Clock() = default;

  /// Seconds since 1970-01-01 00:00:00 UTC, with their fraction.
  virtual double secondsSince1970() = 0;

  /// Seconds since 2001-01-01 00:00:00 UTC, with their fraction.
  double secondsSinceReferenceDate() { return secondsSince1970() - kReferenceDate; }
};

/// The system's clock.
class QUARNET_EXPORT SystemClock final : public Clock {
public:
  double secondsSince1970() override;
};

} // namespace quarnet::platform
