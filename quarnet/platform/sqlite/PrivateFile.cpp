#include "quarnet/platform/sqlite/PrivateFile.h"

#include <cerrno>
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

void tightenMode(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if ((status.st_mode & 077) != 0) chmod(path.c_str(), 0600);
}

} // namespace quarnet::platform
