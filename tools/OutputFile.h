#pragma once

#include <string>
#include <string_view>

namespace quarnet::tools {

// A file that is to get all of something or nothing: a new one is written beside it and takes its
// place. A pipe, a device and standard output ("-" or "/dev/stdout") are written to as they are.

/// Whether it can be written, as far as can be said before; if not, that is told on standard error.
bool isWritable(const std::string& path);

/// Writes it; false, and told on standard error, when that fails. To a terminal nothing goes that
/// it would take as a command.
bool writeOutput(const std::string& path, std::string_view bytes);

} // namespace quarnet::tools
