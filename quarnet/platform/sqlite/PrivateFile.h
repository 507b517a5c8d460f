#pragma once

#include <string>
#include <system_error>

namespace quarnet::platform {

/// Makes an empty file of mode 0600 at `path` unless one is there, and the folders above it of mode
/// 0700 where they are missing, whatever the umask. What it makes outlasts a power cut.
std::error_code makePrivateFile(const std::string& path);

/// Takes the file at `path` away from the group and others, if there is one and that can be done:
/// a file system without modes is no reason not to use the file.
void tightenMode(const std::string& path);

} // namespace quarnet::platform
