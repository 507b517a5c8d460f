#pragma once

#include <string>
#include <string_view>

namespace quarnet {

/// Two lower-case hexadecimal digits a byte.
std::string hexEncoded(std::string_view data);

} // namespace quarnet
