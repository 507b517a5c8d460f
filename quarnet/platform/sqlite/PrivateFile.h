#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>
#include <system_error>

namespace quarnet::platform {

/// Makes an empty file of mode 0600 at `path` unless one is there, and the folders above it of mode
/// 0700 where they are missing, whatever the umask. What it makes outlasts a power cut.
std::error_code makePrivateFile(const std::string& path);

/// A file as it was found, before anything of it is read.
struct FoundFile {
  bool isThere = false;
  struct stat status {};

  /// Its owner may not write to it: it is to stay as it is, although the superuser could.
  bool isReadOnly() const { return (status.st_mode & S_IWUSR) == 0; }
  /// Whether it is still the one at `path`, with the same owner and mode.
  bool isStillAt(const std::string& path) const;
};

/// Looks at the file at `path`, where it leads if it is a link, and takes it away from the group
/// and others if it is this user's and that can be done: a file system without modes is no reason
/// not to use the file. Absent with the reason when it is not to be used: what is no plain file,
/// and a file or a link that belongs to somebody else than this user or root.
std::optional<FoundFile> findPrivateFile(const std::string& path, std::string& reason);

} // namespace quarnet::platform
