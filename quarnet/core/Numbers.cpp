#include "quarnet/core/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace quarnet {

std::int64_t integerValue(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.starts_with('-')) return 0; // from_chars would take a second sign
  std::int64_t magnitude = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
  if (error == std::errc::result_out_of_range) {
    return negative ? std::numeric_limits<std::int64_t>::min()
                    : std::numeric_limits<std::int64_t>::max();
  }
  return negative ? -magnitude : magnitude;
}

std::int64_t truncated(double number) {
  using Limits = std::numeric_limits<std::int64_t>;
  if (number >= 0x1p63) return Limits::max();
  if (number < -0x1p63) return Limits::min();
  return std::isnan(number) ? 0 : static_cast<std::int64_t>(number);
}

} // namespace quarnet
