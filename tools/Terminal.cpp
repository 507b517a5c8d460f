#include "tools/Terminal.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace quarnet::tools {

void tell(std::string_view message) {
  const std::string line = "quarnet: " + std::string(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string excerpt(std::string_view text) {
  constexpr std::size_t kLongest = 300;
  std::string shown(text.substr(0, kLongest));
  std::replace_if(
      shown.begin(), shown.end(),
      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
  return text.size() > kLongest ? shown + " ..." : shown;
}

void printText(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  if (!text.ends_with('\n') && isatty(STDOUT_FILENO) != 0) std::fputc('\n', stdout);
  std::fflush(stdout);
}

void printLine(std::string line) {
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

} // namespace quarnet::tools
