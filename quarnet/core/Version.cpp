#include "quarnet/core/Version.h"

namespace quarnet {

#define QUARNET_QUOTED(number) #number
#define QUARNET_DOTTED(major, minor, patch)                                                        \
  QUARNET_QUOTED(major) "." QUARNET_QUOTED(minor) "." QUARNET_QUOTED(patch)

std::string_view version() {
  return QUARNET_DOTTED(QUARNET_VERSION_MAJOR, QUARNET_VERSION_MINOR, QUARNET_VERSION_PATCH);
}

int versionNumber() {
  return QUARNET_VERSION;
}

} // namespace quarnet
