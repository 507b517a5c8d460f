#pragma once

#include <cstddef>
#include <string_view>

namespace quarnet {

// Looks through texts many bytes at a time.

/// A-Z a-z 0-9 - . _ ~ (RFC 3986, section 2.3).
constexpr bool isUnreserved(unsigned char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

/// How many bytes are not unreserved characters.
std::size_t countReserved(std::string_view text);

/// Where `first` and `second` stand next to each other for the first time from `start` on;
/// std::string_view::npos when they do not.
std::size_t findPair(std::string_view text, char first, char second, std::size_t start);

/// Whether the bytes are UTF-8 (RFC 3629). Needs no static object: also right while the process
/// ends.
bool isUtf8(std::string_view bytes);

} // namespace quarnet
