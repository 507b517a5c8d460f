#pragma once

#include <CLI/CLI.hpp>

namespace quarnet::tools {

/// The command `login` as both programs that take it know it.
CLI::App& addLogin(CLI::App& program);

} // namespace quarnet::tools
