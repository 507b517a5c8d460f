#pragma once

#include <cstdint>
#include <string_view>

namespace quarnet {

/// The integer that `text` starts with: blanks, an optional sign, digits. 0 without digits; a run
/// of digits too long for 64 bits gives the nearest 64-bit integer.
std::int64_t integerValue(std::string_view text);

/// The number without its fraction; the nearest 64-bit integer to one that is too large, and 0 for
/// what is no number.
std::int64_t truncated(double number);

} // namespace quarnet
