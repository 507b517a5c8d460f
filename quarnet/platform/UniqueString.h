#pragma once

#include <string>

namespace quarnet::platform {

/// A text that no other call anywhere gives: letters, digits and hyphens.
std::string globallyUniqueString();

} // namespace quarnet::platform
