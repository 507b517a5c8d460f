#pragma once

#include "quarnet/core/Export.h"

#include <string_view>

/// The version of these headers, for the preprocessor. The build reads its version here, too.
/// docs/versions.md says what may change with each of the three numbers.
#define QUARNET_VERSION_MAJOR 1
#define QUARNET_VERSION_MINOR 0
#define QUARNET_VERSION_PATCH 0

/// The three as one number to compare with: 1.2.3 is 10203.
#define QUARNET_VERSION                                                                            \
  (QUARNET_VERSION_MAJOR * 10000 + QUARNET_VERSION_MINOR * 100 + QUARNET_VERSION_PATCH)

namespace quarnet {

/// The version of the library that the program runs with, which may be a later one than that of the
/// headers that it was compiled with: "1.2.3".
QUARNET_EXPORT std::string_view version();

/// The same as a number, like QUARNET_VERSION.
QUARNET_EXPORT int versionNumber();

} // namespace quarnet
