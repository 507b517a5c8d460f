#pragma once

#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet {

/// How many of the bytes, from the first on, are whole characters of UTF-8 (RFC 3629). The first
/// `known` of them were found to be that before. Needs no static object: also right while the
/// process ends.
std::size_t utf8Size(std::string_view bytes, std::size_t known = 0);

/// Whether the bytes are UTF-8.
inline bool isUtf8(std::string_view bytes, std::size_t known = 0) {
  return utf8Size(bytes, known) == bytes.size();
}

/// The bytes as text, taken over without a copy; absent when they are not UTF-8.
Text utf8Text(Data bytes, std::size_t known = 0);

} // namespace quarnet
