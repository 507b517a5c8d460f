#pragma once

#include "tools/usage/ExitCode.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <string_view>

namespace quarnet::usage {

/// The version of all programs.
std::string_view version();

/// Gives a program --version and help pages in the way of all programs; to be called before its
/// commands are added.
void prepare(CLI::App& program);

/// Reads the command line. Absent when the program is to do its work; otherwise the ExitCode with
/// which it is over: help or the version was shown, or wrong usage was told on standard error, with
/// what was probably meant.
std::optional<int> parse(CLI::App& program, int argc, char** argv);

/// Tells on standard error that there is no such command, and what was probably meant; an ExitCode.
int unknownCommand(const CLI::App& app, std::string_view word);

/// `code`, or kFailed, and told, when not all of standard output could be written.
int finished(const CLI::App& program, int code);

} // namespace quarnet::usage
