#pragma once

#include <optional>
#include <string>

namespace quarnet::tools {

/// The secret that the file holds, or standard input for "-": its one line. Absent, and told on
/// standard error, when it holds something else or cannot be read. A file of the user's that others
/// may read is told, too.
std::optional<std::string> readSecret(const std::string& path);

} // namespace quarnet::tools
