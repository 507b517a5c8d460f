#pragma once

#include <string>

namespace quarnet::bench {

/// From the start of a process to the first byte of its first answer; `folder` holds the two
/// programs. Prints its row.
void measureStart(const std::string& folder);

/// The size of the library without its symbols, a file at `path`. Prints its row.
void measureSize(const std::string& path);

} // namespace quarnet::bench
