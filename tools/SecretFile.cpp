#include "tools/SecretFile.h"

#include "tools/InputFile.h"
#include "tools/Terminal.h"

#include <sys/stat.h>
#include <unistd.h>

namespace quarnet::tools {
namespace {

bool mayBeReadByOthers(const std::string& path) {
  struct stat status {};
  return path != "-" && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == geteuid() && (status.st_mode & (S_IRGRP | S_IROTH)) != 0;
}

} // namespace

std::optional<std::string> readSecret(const std::string& path) {
  constexpr std::size_t kMost = 65536; // a device may have no end
  std::optional<Data> text = readInput(path, kMost);
  if (!text) return std::nullopt;
  if (text->starts_with("\xef\xbb\xbf")) text->erase(0, 3); // as some editors begin a text
  if (text->ends_with('\n')) text->pop_back();
  if (text->ends_with('\r')) text->pop_back();
  if (text->empty() || text->find_first_of(std::string_view("\n\r\0", 3)) != Data::npos) {
    tell("the client secret in " + excerpt(path) + " is not one line of text");
    return std::nullopt;
  }
  if (mayBeReadByOthers(path))
    tell("note: other users can read " + excerpt(path) + "; `chmod 600` keeps it to yourself");
  return text;
}

} // namespace quarnet::tools
