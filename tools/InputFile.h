#pragma once

#include "quarnet/core/Types.h"

namespace quarnet::tools {

/// The whole file, or standard input for "-"; absent, and told on standard error, when it cannot be
/// read. Standard input can be read once.
std::optional<Data> readInput(const std::string& path);

} // namespace quarnet::tools
