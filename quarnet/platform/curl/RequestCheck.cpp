#include "quarnet/platform/curl/RequestCheck.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <strings.h>

namespace quarnet::platform {
namespace {

using Bytes = std::array<bool, 256>;

constexpr Bytes bytesOf(std::string_view text) {
  Bytes bytes{};
  for (const char c : text)
    bytes[static_cast<unsigned char>(c)] = true;
  return bytes;
}
constexpr Bytes kTokenBytes =
    bytesOf("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
            "!#$%&'*+-.^_`|~");
constexpr std::string_view kLineBytes{"\r\n\0", 3};

bool holdsOneOf(std::string_view bytes, std::string_view text) {
  return std::ranges::any_of(bytes, [text](char c) { return text.find(c) != text.npos; });
}

// A token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text) {
  const auto isTokenByte = [](char c) { return kTokenBytes[static_cast<unsigned char>(c)]; };
  return !text.empty() && std::all_of(text.begin(), text.end(), isTokenByte);
}

// The field's name up to what must not be in it.
std::string printableStart(std::string_view name) {
  const auto isPrintable = [](char c) { return c > ' ' && c < '\x7f'; };
  return {name.begin(), std::find_if_not(name.begin(), name.end(), isPrintable)};
}

} // namespace

Text headProblem(const HttpRequest& request) {
  if (!isToken(request.method)) return "The HTTP method holds a character that it must not hold";
  for (const auto& [name, value] : request.headerFields) {
    if (!isToken(name)) {
      return "A header field's name is empty or holds a character that it must not hold: " +
             printableStart(name);
    }
    if (holdsOneOf(kLineBytes, value)) {
      return "The header field \"" + std::string(name) + "\" holds a line break or a zero byte";
    }
  }
  return std::nullopt;
}

Text addressProblem(const std::string& url) {
  if (url.empty()) return "The address is empty";
  if (url.find('\0') != std::string::npos) return "The address holds a zero byte";
  const char* text = url.c_str();
  if (strncasecmp(text, "http://", 7) != 0 && strncasecmp(text, "https://", 8) != 0) {
    return "The address is neither an http nor an https one";
  }
  return std::nullopt;
}

} // namespace quarnet::platform
