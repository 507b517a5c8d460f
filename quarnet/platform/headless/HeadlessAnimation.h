#pragma once

#include "quarnet/core/Export.h"

#include <chrono>
#include <memory>

namespace quarnet::platform {

/// One animation on the clock of a headless toolkit. Times are counted from the toolkit's making.
struct HeadlessAnimation {
  /// When it begins.
  std::chrono::milliseconds start{0};
  /// When it is over; moved to the present when the animation is cut short.
  std::chrono::milliseconds end{0};

  /// How far the movement has come, from 0 to 1; it starts and ends slowly.
  double progress(std::chrono::milliseconds now) const {
    if (now >= end) return 1;
    const double time =
        static_cast<double>((now - start).count()) / static_cast<double>((end - start).count());
    return time * time * (3 - 2 * time);
  }
};

/// What the views of one headless toolkit have in common.
struct HeadlessClock {
  /// How long the toolkit has been there.
  std::chrono::milliseconds now{0};
  /// The animation whose changes are being made just now, to which frames that are set belong.
  std::shared_ptr<const HeadlessAnimation> animating;
};

} // namespace quarnet::platform
