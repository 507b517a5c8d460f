#include "quarnet/platform/Guarded.h"

#include "quarnet/platform/Platform.h"

#include <exception>

namespace quarnet::platform {

void runGuarded(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::exception& exception) {
    log("A callback threw an exception : ", exception.what());
  } catch (...) {
    log("A callback threw an exception");
  }
}

} // namespace quarnet::platform
