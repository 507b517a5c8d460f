#pragma once

#include "tools/Command.h"

namespace quarnet::tools {

/// `quarnet login`: hands over to `quarnet-login`, the program with the window, which takes the
/// same options. So no other command loads a toolkit.
class LoginCommand final : public Command {
public:
  /// `argv` are the program's own arguments.
  LoginCommand(CLI::App& program, char** argv);
  int run() override;

private:
  char** argv_;
};

} // namespace quarnet::tools
