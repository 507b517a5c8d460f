#pragma once

#include <string>
#include <string_view>

namespace quarnet::usage {

/// The text with nothing in it that a terminal would take as a command: control characters, but for
/// those in `kept`, and what turns the direction of a text become blanks, and bytes that are not
/// UTF-8 become U+FFFD.
std::string harmless(std::string_view text, std::string_view kept = {});

} // namespace quarnet::usage
