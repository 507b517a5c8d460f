#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>
#include <system_error>

namespace quarnet::platform {

/// Makes an empty file of mode 0600 at `path` unless one is there, and the folders above it of mode
/// 0700 where they are missing, whatever the umask. What it makes is durable when it returns.
std::error_code makePrivateFile(const std::string& path);

/// A file as it was found, before anything of it is read.
struct FoundFile {
  bool isThere = false;
  /// Of the target where the path is a link.
  struct stat status {};

  /// Whether its owner may not write to it. It is not written then, although root could do so.
  bool isReadOnly() const { return (status.st_mode & S_IWUSR) == 0; }
  /// Whether it is still the one at `path`, with the same owner and mode.
  bool isStillAt(const std::string& path) const;
};

/// Looks at the file at `path`, or at the target if it is a link. The permissions of group and
/// others are removed if the file is this user's; where that is not possible, on a file system
/// without modes, the file is used all the same. In a program of 32 bits a date after 2038 of the
/// file, a link or a folder above, which a wrong clock may have left, becomes the present one:
/// SQLite might not open the file otherwise.
/// Absent with the reason when it must not be used: what is no plain file, and a file or a link
/// that belongs to another user than this one and root.
std::optional<FoundFile> findPrivateFile(const std::string& path, std::string& reason);

} // namespace quarnet::platform
