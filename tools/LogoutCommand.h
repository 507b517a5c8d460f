#pragma once

#include "tools/Command.h"
#include "tools/Settings.h"

namespace quarnet::tools {

/// `quarnet logout`: drops the stored tokens and revokes the access token.
class LogoutCommand final : public Command {
public:
  LogoutCommand(CLI::App& program, Settings& settings);
  int run() override;

private:
  Settings& settings_;
};

} // namespace quarnet::tools
