#include "tools/usage/Utf8.h"

namespace quarnet::usage {

std::size_t characterLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (text.empty()) return 0;
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

bool isControl(std::string_view character) {
  const auto byte = [character](std::size_t i) { return static_cast<unsigned char>(character[i]); };
  if (character.size() == 1) return byte(0) < 0x20 || byte(0) == 0x7f;
  return character.size() == 2 && byte(0) == 0xc2 && byte(1) < 0xa0;
}

bool turnsText(std::string_view character) {
  return (character >= "\u202a" && character <= "\u202e") ||
         (character >= "\u2066" && character <= "\u2069");
}

} // namespace quarnet::usage
