#include "quarnet/platform/sqlite/PrivateFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace quarnet::platform {
namespace {

using Path = std::filesystem::path;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

/// Makes the entries of a folder durable.
void syncFolder(const Path& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

bool isTrusted(const struct stat& status) {
  return status.st_uid == geteuid() || status.st_uid == 0;
}

/// Gives the present date to what a library of 32 bits that counts time in as many, as Debian 12's
/// SQLite does, is refused a look at: the file or link, and the folders above it.
void dateAnew(Path path) {
  for (; path.has_relative_path(); path = path.parent_path()) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) continue;
    if (std::max({status.st_atime, status.st_mtime, status.st_ctime}) > INT32_MAX)
      utimensat(AT_FDCWD, path.c_str(), nullptr, AT_SYMLINK_NOFOLLOW);
  }
}

std::error_code makeFolder(const Path& folder) {
  int failed = mkdir(folder.c_str(), 0700);
  if (failed != 0 && errno == ENOENT && folder.has_relative_path()) {
    if (const std::error_code error = makeFolder(folder.parent_path())) return error;
    failed = mkdir(folder.c_str(), 0700);
  }
  if (failed != 0) return errno == EEXIST ? std::error_code() : lastError();
  chmod(folder.c_str(), 0700);
  syncFolder(folder.parent_path());
  return {};
}

} // namespace

std::error_code makePrivateFile(const std::string& path) {
  const Path folder = Path(path).parent_path();
  if (const std::error_code error = makeFolder(folder)) return error;
  // Only a file that is new is opened here: closing another descriptor of a file that this process
  // has open would drop its locks.
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) return errno == EEXIST ? std::error_code() : lastError();
  fchmod(descriptor, 0600);
  close(descriptor);
  syncFolder(folder);
  return {};
}

bool FoundFile::isStillAt(const std::string& path) const {
  struct stat now {};
  return isThere && stat(path.c_str(), &now) == 0 && now.st_dev == status.st_dev &&
         now.st_ino == status.st_ino && now.st_uid == status.st_uid &&
         now.st_mode == status.st_mode;
}

std::optional<FoundFile> findPrivateFile(const std::string& path, std::string& reason) {
  // O_PATH does not open the file itself: it cannot block, and closing it drops no lock.
  const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
  if (place < 0) {
    if (errno == ENOENT) return FoundFile{};
    reason = lastError().message();
    return std::nullopt;
  }
  FoundFile found{.isThere = true};
  struct stat link {};
  const std::string placePath = "/proc/self/fd/" + std::to_string(place);
  const bool isKnown = lstat(path.c_str(), &link) == 0 && fstat(place, &found.status) == 0;
  if (!isKnown || !S_ISREG(found.status.st_mode)) {
    reason = "this is no plain file";
  } else if (!isTrusted(link) || !isTrusted(found.status)) {
    reason = "this belongs to another user";
  } else if (found.status.st_uid == geteuid() && (found.status.st_mode & 077) != 0) {
    chmod(placePath.c_str(), found.status.st_mode & 0700);
    fstat(place, &found.status);
  }
  if (sizeof(void*) == 4 && reason.empty()) {
    dateAnew(path);
    std::error_code ignored;
    dateAnew(std::filesystem::read_symlink(placePath, ignored)); // where a link leads
  }
  close(place);
  return reason.empty() ? std::optional(found) : std::nullopt;
}

} // namespace quarnet::platform
