#include "quarnet/core/Text.h"

#include "quarnet/core/TextScan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace quarnet {
namespace {

/// The characters that may stand in a URL, "[", "]" and "#" excepted.
constexpr std::array<bool, 256> makeLegalInUrl() {
  std::array<bool, 256> legal{};
  for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                       "0123456789!$&'()*+,-./:;=?@_~")) {
    legal[static_cast<unsigned char>(c)] = true;
  }
  return legal;
}
constexpr std::array<bool, 256> kLegalInUrl = makeLegalInUrl();

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

} // namespace

Text utf8Text(Data bytes) {
  if (!isUtf8(bytes)) return std::nullopt;
  return bytes;
}

bool sameIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowered(x) == lowered(y); });
}

Text addingPercentEscapes(const Text& text) {
  if (!text) return std::nullopt;
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string escaped;
  escaped.reserve(text->size());
  for (const char c : *text) {
    const auto byte = static_cast<unsigned char>(c);
    if (kLegalInUrl[byte]) {
      escaped += c;
    } else {
      escaped += '%';
      escaped += kHex[byte >> 4];
      escaped += kHex[byte & 15];
    }
  }
  return escaped;
}

Text replacingPercentEscapes(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  std::size_t position = 0;
  while (position < text.size()) {
    const std::size_t escape = text.find('%', position);
    plain += text.substr(position, escape - position);
    if (escape == std::string_view::npos) break;
    if (escape + 2 >= text.size()) return std::nullopt;
    const int high = hexDigit(text[escape + 1]);
    const int low = hexDigit(text[escape + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    plain += static_cast<char>(high * 16 + low);
    position = escape + 3;
  }
  return utf8Text(std::move(plain));
}

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
