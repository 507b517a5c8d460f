#pragma once

#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet::tools {

/// The text as a JSON string (RFC 8259, section 7). Bytes that are not UTF-8 become U+FFFD.
std::string jsonText(std::string_view text);

/// The same; "null" for an absent text.
std::string jsonText(const Text& text);

} // namespace quarnet::tools
