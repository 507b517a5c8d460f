#include "sandbox/Text.h"

#include <algorithm>
#include <cstdint>
#include <simdjson.h>

namespace quarnet::sandbox {
namespace {

constexpr std::string_view kUpperHex = "0123456789ABCDEF";
constexpr std::string_view kLowerHex = "0123456789abcdef";

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

int base64UrlValue(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '-') return 62;
  return c == '_' ? 63 : -1;
}

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isUnreserved(char c) {
  const char l = lowered(c);
  return (l >= 'a' && l <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' ||
         c == '~';
}

} // namespace

std::string percentDecoded(std::string_view text, Plus plus) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escape = text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
                        hexValue(text[i + 2]) >= 0;
    if (escape) {
      decoded += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      decoded += text[i] == '+' && plus == Plus::blank ? ' ' : text[i];
    }
  }
  return decoded;
}

std::string percentEncoded(std::string_view text) {
  std::string encoded;
  for (const char c : text) {
    if (isUnreserved(c)) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kUpperHex[byte >> 4], kUpperHex[byte & 15]};
    }
  }
  return encoded;
}

std::string hexEncoded(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kLowerHex[byte >> 4];
    text += kLowerHex[byte & 15];
  }
  return text;
}

std::optional<std::string> hexDecoded(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = hexValue(text[i]);
    const int low = hexValue(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

std::optional<std::string> base64UrlDecoded(std::string_view text) {
  std::string bytes;
  std::uint32_t bits = 0;
  int held = 0;
  for (const char c : text) {
    const int value = base64UrlValue(c);
    if (value < 0) return std::nullopt;
    bits = (bits << 6) | static_cast<std::uint32_t>(value);
    held += 6;
    if (held >= 8) {
      held -= 8;
      bytes += static_cast<char>((bits >> held) & 0xFF);
    }
  }
  return bytes;
}

std::string markupEscaped(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    switch (c) {
    case '&':
      escaped += "&amp;";
      break;
    case '<':
      escaped += "&lt;";
      break;
    case '>':
      escaped += "&gt;";
      break;
    case '"':
      escaped += "&quot;";
      break;
    case '\'':
      escaped += "&#39;";
      break;
    default:
      escaped += c;
    }
  }
  return escaped;
}

bool isUtf8(std::string_view text) {
  return simdjson::validate_utf8(text.data(), text.size());
}

std::string presentable(std::string_view text) {
  return isUtf8(text) ? std::string(text) : percentEncoded(text);
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, lowered, lowered);
}

} // namespace quarnet::sandbox
