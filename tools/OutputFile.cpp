#include "tools/OutputFile.h"

#include "tools/Terminal.h"
#include "tools/usage/Harmless.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace quarnet::tools {
namespace {

bool refuse(const std::string& path, const std::string& why) {
  tell("cannot write " + excerpt(path) + ": " + why);
  return false;
}

/// With the reason that the system gave last.
bool refuse(const std::string& path) {
  return refuse(path, std::strerror(errno));
}

/// What is there; a mode of 0 for nothing.
struct stat statusOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) status = {};
  return status;
}

bool isStandardOutput(const std::string& path) {
  struct stat out {};
  const struct stat status = statusOf(path);
  return path == "-" || (fstat(STDOUT_FILENO, &out) == 0 && status.st_mode != 0 &&
                         status.st_dev == out.st_dev && status.st_ino == out.st_ino);
}

/// The file that the path leads to through symbolic links, be it there or not.
std::filesystem::path targetOf(const std::string& path) {
  std::error_code unknown;
  std::filesystem::path target = path;
  // The system follows no more.
  for (int links = 0; links < 40 && std::filesystem::is_symlink(target, unknown); ++links)
    target = target.parent_path() / std::filesystem::read_symlink(target, unknown);
  return target;
}

/// Where the system looks for the path's last name.
std::string folderOf(const std::filesystem::path& path) {
  return path.has_parent_path() ? path.parent_path() / "" : "./";
}

/// The mode of the file that is replaced, or of a new one.
mode_t modeFor(const struct stat& status) {
  if (status.st_mode != 0) return status.st_mode & 0777;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool writeInPlace(const std::string& path, std::string_view bytes) {
  const int file = isStandardOutput(path) ? dup(STDOUT_FILENO)
                                          : open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
  if (file < 0) return refuse(path);
  const bool isWritten =
      isatty(file) != 0 ? writeAll(file, usage::harmless(bytes, "\n\t")) : writeAll(file, bytes);
  const bool isWhole = isWritten || refuse(path);
  close(file);
  return isWhole;
}

bool replace(const std::string& path, const struct stat& status, std::string_view bytes) {
  const std::filesystem::path target = targetOf(path);
  std::string beside = folderOf(target) + ".quarnet-XXXXXX"; // a name of its own is never too long
  const int file = mkostemp(beside.data(), O_CLOEXEC);
  if (file < 0) return refuse(path);
  const bool isWritten = fchmod(file, modeFor(status)) == 0 && writeAll(file, bytes);
  const bool isWhole = isWritten || refuse(path);
  const bool isClosed = close(file) == 0;
  if (!isWhole || !isClosed || std::rename(beside.c_str(), target.c_str()) != 0) {
    if (isWhole) refuse(path);
    unlink(beside.c_str());
    return false;
  }
  return true;
}

} // namespace

bool isWritable(const std::string& path) {
  if (isStandardOutput(path)) return true;
  errno = 0;
  const struct stat status = statusOf(path);
  if (path.empty()) return refuse("''", "it is no name of a file");
  if (S_ISDIR(status.st_mode) || path.ends_with('/'))
    return refuse(path, "it is a folder; give the name of a file in it");
  const bool isThere = status.st_mode != 0;
  // A name that is too long, links that go in a circle.
  if (!isThere && errno != ENOENT) return refuse(path);
  if (isThere && access(path.c_str(), W_OK) != 0) return refuse(path);
  if (isThere && !S_ISREG(status.st_mode)) return true;
  return access(folderOf(targetOf(path)).c_str(), W_OK | X_OK) == 0 || refuse(path);
}

bool writeOutput(const std::string& path, std::string_view bytes) {
  const struct stat status = statusOf(path);
  const bool isReplaced = status.st_mode == 0 || S_ISREG(status.st_mode);
  if (!isReplaced || isStandardOutput(path)) return writeInPlace(path, bytes);
  return replace(path, status, bytes);
}

} // namespace quarnet::tools
