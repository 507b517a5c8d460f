#include "quarnet/request/Multipart.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace quarnet {
namespace {

struct File {
  const int descriptor;
  ~File() {
    if (descriptor >= 0) close(descriptor);
  }
};

void appendQuotable(Data& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
    case '\r':
      out += "%0D";
      break;
    case '\n':
      out += "%0A";
      break;
    case '"':
      out += "%22";
      break;
    default:
      out += c;
    }
  }
}

std::string_view lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/'))
    path.remove_suffix(1);
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos || path.size() == 1 ? path : path.substr(slash + 1);
}

/// Appends all that can be read from the descriptor; nothing when reading fails. Fills the room
/// that was reserved before it takes more.
void appendAll(Data& out, int descriptor) {
  // Small enough to stay in the processor's cache from the filling with zeros to the reading.
  constexpr std::size_t kStep = std::size_t{1} << 18;
  const std::size_t start = out.size();
  std::size_t end = start;
  while (true) {
    if (end == out.size()) {
      const std::size_t room = out.capacity() - end;
      out.resize(end + (room > 0 ? std::min(room, kStep) : kStep));
    }
    const ssize_t count = read(descriptor, out.data() + end, out.size() - end);
    if (count < 0 && errno == EINTR) continue;
    if (count > 0) {
      end += static_cast<std::size_t>(count);
      continue;
    }
    out.resize(count < 0 ? start : end);
    return;
  }
}

} // namespace

bool isReadable(const std::string& path) {
  // A path that holds NUL names no file; cut off there it would name another. std::filesystem would
  // not see a file of a date after 2038 where the C++ library counts dates in 32 bits.
  struct stat status {};
  if (path.find('\0') != std::string::npos || stat(path.c_str(), &status) != 0 ||
      !S_ISREG(status.st_mode)) {
    return false;
  }
  std::ifstream file(path);
  if (!file) return false;
  file.peek();
  return !file.bad();
}

Multipart makeMultipart(std::string_view boundary, std::string_view key, const std::string& path) {
  Multipart multipart;
  Data& body = multipart.body;

  // A path that holds NUL names no file; cut off there it would name another.
  const bool isPath = path.find('\0') == std::string::npos;
  const File file{isPath ? open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK) : -1};
  struct stat status {};
  const bool readable =
      file.descriptor >= 0 && fstat(file.descriptor, &status) == 0 && S_ISREG(status.st_mode);
  // A file may be larger than any text of 32 bits, which is refused here.
  const std::uint64_t size = readable ? static_cast<std::uint64_t>(status.st_size) : 0;
  const auto expected = static_cast<std::size_t>(std::min<std::uint64_t>(size, body.max_size()));
  body.reserve(expected + boundary.size() * 2 + key.size() * 3 + path.size() * 3 + 512);

  body.append("\r\n--").append(boundary).append("\r\n");
  body.append("Content-Disposition: form-data; name=\"");
  appendQuotable(body, key);
  body.append("\"; filename=\"");
  appendQuotable(body, lastPathComponent(path));
  body.append("\"\r\n");
  body.append("Content-Type: application/octet-stream\r\n\r\n");

  const std::size_t head = body.size();
  if (readable) appendAll(body, file.descriptor);
  multipart.fileSize = body.size() - head;

  // This line comes after the file's bytes, not among the part's headers: the server expects it
  // there.
  body.append("\r\nContent-Transfer-Encoding: binary\r\n\r\n");
  body.append("--").append(boundary).append("--\r\n");
  return multipart;
}

} // namespace quarnet
