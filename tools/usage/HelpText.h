#pragma once

#include <CLI/App.hpp>
#include <string>

namespace quarnet::usage {

/// Shows help pages in lines of at most 80 characters.
class HelpText final : public CLI::FormatterBase {
public:
  std::string make_help(const CLI::App* app, std::string, CLI::AppFormatMode) const override;
};

} // namespace quarnet::usage
