#pragma once

#include "tools/Command.h"

#include <string>

namespace quarnet::tools {

/// `quarnet completion`: shows what a shell reads to complete the program's command line.
class CompletionCommand final : public Command {
public:
  explicit CompletionCommand(CLI::App& program);
  int run() override;

private:
  CLI::App& program_;
  std::string shell_;
};

} // namespace quarnet::tools
