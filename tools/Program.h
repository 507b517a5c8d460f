#pragma once

#include "tools/Command.h"
#include "tools/Settings.h"

#include <memory>
#include <vector>

namespace quarnet::tools {

/// `quarnet`: its parser and its commands.
class Program {
public:
  /// `argv` are the arguments, ended by a null pointer as those of a process are.
  explicit Program(char** argv);

  /// What it takes on the command line.
  const CLI::App& parser() const { return parser_; }

  /// Does what the arguments say; an ExitCode.
  int run(int argc);

private:
  int runCommand();

  char** argv_;
  CLI::App parser_;
  Settings settings_;
  std::vector<std::unique_ptr<Command>> commands_;
};

} // namespace quarnet::tools
