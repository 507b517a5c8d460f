#pragma once

#include "quarnet/core/Types.h"

#include <cstdint>
#include <string_view>

namespace quarnet {

/// The text as it is printed and copied into tokens and addresses: itself, or "(null)" when it is
/// absent. The view lives as long as `text` does.
inline std::string_view formatted(const Text& text) {
  return text ? std::string_view(*text) : std::string_view("(null)");
}

/// The bytes as text, taken over without a copy; absent when they are not valid UTF-8.
Text utf8Text(Data bytes);

/// Whether two texts are the same but for the case of ASCII letters, in any locale.
bool sameIgnoringCase(std::string_view a, std::string_view b);

/// Escapes what may never stand in a URL and leaves every legal character, the reserved ones
/// included, as it is. Absent stays absent. Weaker than escapeString() and meant to be.
Text addingPercentEscapes(const Text& text);

/// Undoes percent-escapes ("+" is no blank). Absent for a malformed escape or when the result is
/// not valid UTF-8.
Text replacingPercentEscapes(std::string_view text);

/// The integer that `text` starts with: blanks, an optional sign, digits. 0 without digits; a run
/// of digits too long for 64 bits gives the nearest 64-bit integer.
std::int64_t integerValue(std::string_view text);

/// The number without its fraction; the nearest 64-bit integer to one that is too large, and 0 for
/// what is no number.
std::int64_t truncated(double number);

} // namespace quarnet
