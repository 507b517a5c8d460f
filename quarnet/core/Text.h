#pragma once

#include "quarnet/core/Export.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace quarnet {

/// A text that may be absent. Absent is not empty.
using Text = std::optional<std::string>;

/// The text as it is printed and copied into tokens and addresses: itself, or "(null)" when it is
/// absent. The view lives as long as `text` does.
inline std::string_view formatted(const Text& text) {
  return text ? std::string_view(*text) : std::string_view("(null)");
}

/// Whether two texts are the same but for the case of ASCII letters, in any locale.
inline bool sameIgnoringCase(std::string_view a, std::string_view b) {
  const auto lowered = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [lowered](char x, char y) { return lowered(x) == lowered(y); });
}

} // namespace quarnet
