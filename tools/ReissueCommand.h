#pragma once

#include "tools/Command.h"
#include "tools/Settings.h"

namespace quarnet::tools {

/// `quarnet reissue`: trades the stored refresh token for new tokens (RFC 6749, section 6).
class ReissueCommand final : public Command {
public:
  ReissueCommand(CLI::App& program, Settings& settings);
  int run() override;

private:
  Settings& settings_;
};

} // namespace quarnet::tools
