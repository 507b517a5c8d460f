#pragma once

#include <cstddef>
#include <string_view>

namespace quarnet::usage {

/// What stands for bytes that are not UTF-8: U+FFFD.
inline constexpr std::string_view kNoCharacter = "\xef\xbf\xbd";

/// How many bytes the UTF-8 character (RFC 3629) at the start of `text` has; 0 when there is none.
std::size_t characterLength(std::string_view text);

/// Whether a terminal may obey the character instead of showing it: U+0000 to U+001F and U+007F to
/// U+009F.
bool isControl(std::string_view character);

/// Whether the character turns the direction of the text around it, which then looks like another
/// one: U+202A to U+202E and U+2066 to U+2069.
bool turnsText(std::string_view character);

} // namespace quarnet::usage
