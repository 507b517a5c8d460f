#pragma once

#include "quarnet/core/Types.h"

#include <cstdint>

namespace quarnet::tools {

/// The whole file, or standard input for "-"; absent, and told on standard error, when it cannot be
/// read or holds more than `most` bytes. Standard input can be read once.
std::optional<Data> readInput(const std::string& path, std::size_t most = SIZE_MAX);

} // namespace quarnet::tools
