#pragma once

#include <CLI/App.hpp>
#include <string>

namespace quarnet::usage {

// What a shell reads so that Tab completes a program's command line: commands, options, and the
// values of which there are a few, or which are files. Made from the parser, whatever that has.

std::string bashCompletion(const CLI::App& program);
std::string zshCompletion(const CLI::App& program);
std::string fishCompletion(const CLI::App& program);

} // namespace quarnet::usage
