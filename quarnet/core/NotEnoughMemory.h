#pragma once

#include "quarnet/core/Error.h"

#include <new>
#include <stdexcept>

namespace quarnet {

/// The error of a call that is too large for the memory.
inline Error notEnoughMemory() {
  return apiError(kNotEnoughMemory);
}

/// Returns what `call` returns, or what `tooLarge` does when the memory did not suffice for `call`.
template <class Call, class TooLarge>
auto withinMemory(const Call& call, const TooLarge& tooLarge) -> decltype(call()) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) { // more than any memory holds
  }
  return tooLarge();
}

} // namespace quarnet
