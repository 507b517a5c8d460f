#include "tools/Terminal.h"

#include "tools/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace quarnet::tools {
namespace {

/// The text without control characters, but for those in `kept`.
std::string harmless(std::string_view text, std::string_view kept = {}) {
  std::string shown;
  shown.reserve(text.size() + 1);
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    const bool isObeyed = isControl(character) && kept.find(character) == std::string_view::npos;
    shown += length == 0 ? kNoCharacter : isObeyed ? " " : character;
    text.remove_prefix(character.size());
  }
  return shown;
}

void writeOut(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

} // namespace

void tell(std::string_view message) {
  const std::string line = "quarnet: " + harmless(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string excerpt(std::string_view text) {
  constexpr std::size_t kLongest = 300;
  if (text.size() <= kLongest) return harmless(text);
  std::size_t end = kLongest;
  // Not in the middle of a character, which has at most three bytes behind the first.
  while (end > kLongest - 3 && (text[end] & 0xc0) == 0x80)
    --end;
  return harmless(text.substr(0, end)) + " ...";
}

void printText(std::string_view text) {
  if (isatty(STDOUT_FILENO) == 0) return writeOut(text);
  writeOut(harmless(text, "\n\t") + (text.ends_with('\n') ? "" : "\n"));
}

void printLine(std::string_view line) {
  writeOut(harmless(line) + '\n');
}

} // namespace quarnet::tools
