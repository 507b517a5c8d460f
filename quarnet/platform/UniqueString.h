#pragma once

#include <string>

namespace quarnet::platform {

/// A text that no other call on any machine returns: letters, digits and hyphens. Safe from any
/// thread.
std::string globallyUniqueString();

} // namespace quarnet::platform
