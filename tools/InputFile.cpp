#include "tools/InputFile.h"

#include "tools/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace quarnet::tools {

std::optional<Data> readInput(const std::string& path, std::size_t most) {
  static bool isTaken = false;
  if (path == "-" && std::exchange(isTaken, true)) {
    tell("standard input is given for two things");
    return std::nullopt;
  }
  const auto closeFile = [](std::FILE* file) {
    if (file != stdin) std::fclose(file);
  };
  const std::unique_ptr<std::FILE, decltype(closeFile)> file(
      path == "-" ? stdin : std::fopen(path.c_str(), "re"), closeFile);
  Data bytes;
  if (file) {
    char buffer[65536];
    std::size_t count = 0;
    while (bytes.size() <= most && (count = std::fread(buffer, 1, sizeof(buffer), file.get())) > 0)
      bytes.append(buffer, count);
  }
  const bool isRead = file && std::ferror(file.get()) == 0;
  if (isRead && bytes.size() <= most) return bytes;
  tell("cannot read " + (path == "-" ? "standard input" : excerpt(path)) + ": " +
       (isRead ? "it is too large" : std::strerror(errno)));
  return std::nullopt;
}

} // namespace quarnet::tools
