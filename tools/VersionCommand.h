#pragma once

#include "tools/Command.h"

namespace quarnet::tools {

/// `quarnet version`: shows what --version shows.
class VersionCommand final : public Command {
public:
  explicit VersionCommand(CLI::App& program);
  int run() override;

private:
  CLI::App& program_;
};

} // namespace quarnet::tools
