#include "tools/JsonText.h"

#include <cstdint>
#include <cstdio>

namespace quarnet::tools {
namespace {

/// How many bytes the UTF-8 character (RFC 3629) at the start of `text` has; 0 when there is none.
std::size_t characterLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
  }
  const bool overlong = (first == 0xe0 && byte(1) < 0xa0) || (first == 0xf0 && byte(1) < 0x90);
  const bool surrogate = first == 0xed && byte(1) >= 0xa0;
  const bool tooLarge = first == 0xf4 && byte(1) >= 0x90;
  return overlong || surrogate || tooLarge ? 0 : length;
}

void appendCharacter(std::string& json, std::string_view character) {
  const char c = character.front();
  if (c == '"' || c == '\\') {
    json += '\\';
    json += c;
  } else if (c == '\n') {
    json += "\\n";
  } else if (static_cast<unsigned char>(c) < 0x20) {
    char escape[8];
    std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
    json += escape;
  } else {
    json += character;
  }
}

} // namespace

std::string jsonText(std::string_view text) {
  std::string json = "\"";
  json.reserve(text.size() + 2);
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length == 0) {
      json += "\xef\xbf\xbd";
    } else {
      appendCharacter(json, text.substr(0, length));
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return json + '"';
}

std::string jsonText(const Text& text) {
  return text ? jsonText(std::string_view(*text)) : "null";
}

} // namespace quarnet::tools
