#pragma once

#include "tools/usage/HelpPage.h"

namespace quarnet::usage {

/// The manual page of a parser, in the macros of man(7): what its --help says, the variables that
/// stand for options, and the pages beside it.
std::string manPage(const CLI::App& app, std::string_view version);

/// The name of that page, without its section: "quarnet-token-import".
std::string manPageName(const CLI::App& app);

} // namespace quarnet::usage
