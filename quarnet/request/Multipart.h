#pragma once

#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet {

/// A multipart/form-data body (RFC 7578) that holds one file.
struct Multipart {
  Data body;
  std::size_t fileSize = 0;
};

/// Whether the path names a regular file of which something can be read, or an empty one.
bool isReadable(const std::string& path);

/// Reads the whole file into the body, once. A file that is missing, unreadable or no regular file
/// gives an empty file section. CR, LF and the double quote in the key or the file's name travel
/// as %0D, %0A and %22. Throws std::bad_alloc or std::length_error for a file that is too large for
/// the memory.
Multipart makeMultipart(std::string_view boundary, std::string_view key, const std::string& path);

} // namespace quarnet
