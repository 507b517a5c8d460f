#pragma once

#include "tools/Command.h"
#include "tools/Settings.h"

#include <string>

namespace quarnet::tools {

/// `quarnet token`: shows the stored token record; `quarnet token import` stores a token endpoint's
/// answer.
class TokenCommand final : public Command {
public:
  TokenCommand(CLI::App& program, Settings& settings);
  int run() override;

private:
  int show();
  int import();

  Settings& settings_;
  CLI::App* import_;
  bool reveal_ = false;
  std::string file_;
};

} // namespace quarnet::tools
