#include "quarnet/core/StringUtil.h"

#include "quarnet/core/TextScan.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace quarnet {
namespace {

/// What each byte becomes: four bytes to write, of which one or three count.
struct EscapeTable {
  std::array<std::array<char, 4>, 256> text{};
  std::array<unsigned char, 256> size{};

  constexpr EscapeTable() {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    for (std::size_t byte = 0; byte < 256; ++byte) {
      if (isUnreserved(static_cast<unsigned char>(byte))) {
        text[byte] = {static_cast<char>(byte)};
        size[byte] = 1;
      } else {
        text[byte] = {'%', kHex[byte >> 4], kHex[byte & 15]};
        size[byte] = 3;
      }
    }
  }
};
constexpr EscapeTable kEscapes;

/// Below this, room for the worst case costs less than counting.
constexpr std::size_t kShort = 128;

/// The most bytes of `text` that are to be escaped.
std::size_t mostReserved(std::string_view text) {
  return text.size() < kShort ? text.size() : countReserved(text);
}

/// What escaping one text of that size takes at most: three more, as each byte writes four and may
/// count for one.
constexpr std::size_t roomFor(std::size_t size, std::size_t reserved) {
  return size + 2 * reserved + 3;
}

/// Returns the end of what it wrote.
char* writeEscaped(char* to, std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    std::memcpy(to, kEscapes.text[byte].data(), 4);
    to += kEscapes.size[byte];
  }
  return to;
}

/// What stands behind the "=" at that place up to the next "&"; absent for no place.
Text valueFrom(std::string_view query, std::size_t equals) {
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view rest = query.substr(equals + 1);
  return std::string(rest.substr(0, rest.find('&')));
}

} // namespace

std::string escapeString(std::string_view text) {
  const std::size_t reserved = mostReserved(text);
  if (reserved == 0) return std::string(text);
  std::string escaped(roomFor(text.size(), reserved), '\0');
  escaped.resize(static_cast<std::size_t>(writeEscaped(escaped.data(), text) - escaped.data()));
  return escaped;
}

std::string StringUtil::escapedString(std::string_view text) {
  return escapeString(text);
}

Text StringUtil::getQueryStringFromDictionary(const Parameters& parameters) {
  if (parameters.empty()) return std::nullopt;
  const auto room = [](std::string_view text) { return roomFor(text.size(), mostReserved(text)); };
  std::size_t size = 0;
  for (const auto& [key, value] : parameters)
    size += room(key) + (value ? room(*value) : 0);

  std::string query(size, '\0'); // three bytes a text to spare: the "&" and the "=" have room
  char* to = query.data();
  bool first = true;
  for (const auto& [key, value] : parameters) {
    if (!std::exchange(first, false)) *to++ = '&';
    to = writeEscaped(to, key);
    if (!value) continue;
    *to++ = '=';
    to = writeEscaped(to, *value);
  }
  query.resize(static_cast<std::size_t>(to - query.data()));
  return query;
}

Text StringUtil::getValueFromQueryStringKey(std::string_view query, std::string_view key) {
  if (key.empty()) return valueFrom(query, query.find('='));
  // The key's last character and the "=" stand together seldom, which "KEY=" as a whole would have
  // to be compared to find out.
  std::size_t last = findPair(query, key.back(), '=', key.size() - 1);
  while (last != std::string_view::npos && query.substr(last + 1 - key.size(), key.size()) != key)
    last = findPair(query, key.back(), '=', last + 1);
  return last == std::string_view::npos ? Text() : valueFrom(query, last + 1);
}

} // namespace quarnet
