#include "tools/JsonText.h"

#include "tools/usage/Utf8.h"

#include <cstdio>

namespace quarnet::tools {
namespace {

using usage::characterLength;
using usage::isControl;
using usage::kNoCharacter;
using usage::turnsText;

/// The number of a control character, whose last byte it is, or of one from U+2000 to U+2FFF.
unsigned numberOf(std::string_view character) {
  const unsigned last = static_cast<unsigned char>(character.back());
  if (character.size() < 3) return last;
  return 0x2000U + (static_cast<unsigned char>(character[1]) & 0x3fU) * 0x40U + (last & 0x3fU);
}

void appendCharacter(std::string& json, std::string_view character) {
  const char c = character.front();
  if (c == '"' || c == '\\') {
    json += '\\';
    json += c;
  } else if (c == '\n') {
    json += "\\n";
  } else if (isControl(character) || turnsText(character)) {
    char escape[8];
    std::snprintf(escape, sizeof(escape), "\\u%04x", numberOf(character));
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
      json += kNoCharacter;
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
