#include "tools/usage/Harmless.h"

#include "tools/usage/Utf8.h"

#include <algorithm>

namespace quarnet::usage {
std::string harmless(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size() + 1);
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    const bool isObeyed = (isControl(character) || turnsText(character)) &&
                          kept.find(character) == std::string_view::npos;
    shown += length == 0 ? kNoCharacter : isObeyed ? " " : character;
    text.remove_prefix(character.size());
  }
  return shown;
}

} // namespace quarnet::usage
