#include "tools/Terminal.h"

#include "tools/ShownJson.h"
#include "tools/usage/Harmless.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace quarnet::tools {
namespace {

using usage::harmless;

/// As https://no-color.org asks for.
bool mayColour() {
  const char* const no = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return (no == nullptr || *no == '\0') && terminal != nullptr && *terminal != '\0' &&
         std::string_view(terminal) != "dumb";
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
  const std::string shown = shownJson(harmless(text, "\n\t"), mayColour());
  writeOut(shown + (shown.ends_with('\n') ? "" : "\n"));
}

void printLine(std::string_view line) {
  writeOut(harmless(line) + '\n');
}

} // namespace quarnet::tools
