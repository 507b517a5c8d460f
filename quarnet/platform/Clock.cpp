#include "quarnet/platform/Clock.h"

#include <chrono>

namespace quarnet::platform {

double SystemClock::secondsSince1970() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

} // namespace quarnet::platform
