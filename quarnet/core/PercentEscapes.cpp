#include "quarnet/core/PercentEscapes.h"

#include "quarnet/core/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace quarnet {
namespace {

using Characters = std::array<bool, 256>;

/// ASCII letters, digits and `signs`.
constexpr Characters lettersDigitsAnd(std::string_view signs) {
  Characters characters{};
  for (unsigned char c = 0; c < 0x80; ++c) {
    characters[c] = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                    signs.find(static_cast<char>(c)) != signs.npos;
  }
  return characters;
}

constexpr Characters kUnreserved = lettersDigitsAnd("-._~");
/// "[", "]" and "#" excepted.
constexpr Characters kLegalInUrl = lettersDigitsAnd("!$&'()*+,-./:;=?@_~");

void appendEscapedBut(const Characters& kept, std::string& escaped, std::string_view text) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  const auto isKept = [&kept](char c) { return kept[static_cast<unsigned char>(c)]; };
  const auto count = std::count_if(text.begin(), text.end(), isKept);
  std::size_t to = escaped.size();
  // On 32 bits it may be more than can be counted, which is refused like what is too much for a
  // text.
  const std::uint64_t size =
      to + std::uint64_t{3} * text.size() - 2 * static_cast<std::uint64_t>(count);
  escaped.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size, SIZE_MAX)), '%');
  for (const char c : text) {
    if (isKept(c)) {
      escaped[to++] = c;
    } else {
      escaped[++to] = kHex[static_cast<unsigned char>(c) >> 4];
      escaped[++to] = kHex[static_cast<unsigned char>(c) & 15];
      ++to;
    }
  }
}

} // namespace

std::string escapeString(std::string_view text) {
  std::string escaped;
  appendEscaped(escaped, text);
  return escaped;
}

void appendEscaped(std::string& escaped, std::string_view text) {
  appendEscapedBut(kUnreserved, escaped, text);
}

Text addingPercentEscapes(const Text& text) {
  if (!text) return std::nullopt;
  std::string escaped;
  appendEscapedBut(kLegalInUrl, escaped, *text);
  return escaped;
}

Text replacingPercentEscapes(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  while (!text.empty()) {
    if (text.front() != '%') {
      plain += text.front();
      text.remove_prefix(1);
      continue;
    }
    const std::string_view digits = text.substr(1, 2);
    unsigned char byte = 0;
    const char* end = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16).ptr;
    if (end - digits.data() != 2) return std::nullopt;
    plain += static_cast<char>(byte);
    text.remove_prefix(3);
  }
  return utf8Text(std::move(plain));
}

} // namespace quarnet
