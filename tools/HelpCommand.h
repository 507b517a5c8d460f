#pragma once

#include "tools/Command.h"

#include <string>
#include <vector>

namespace quarnet::tools {

/// `quarnet help`: shows what --help of the program, or of a command, shows.
class HelpCommand final : public Command {
public:
  /// To be made after the commands that it knows.
  explicit HelpCommand(CLI::App& program);
  int run() override;

private:
  CLI::App& program_;
  std::vector<std::string> path_;
};

} // namespace quarnet::tools
