#pragma once

#include "tools/usage/ExitCode.h"

#include <CLI/CLI.hpp>

namespace quarnet::tools {

using usage::ExitCode;
using enum usage::ExitCode;

/// One command of the program: its options, and what it does.
class Command {
public:
  virtual ~Command() = default;

  /// Whether the command line named this command.
  bool chosen() const { return options_->parsed(); }

  /// Does the work; an ExitCode. What went wrong has been told on standard error by then.
  virtual int run() = 0;

protected:
  /// `options` belongs to the program's parser, which outlives the command.
  explicit Command(CLI::App& options) : options_(&options) {}

  CLI::App& options() { return *options_; }

private:
  CLI::App* options_;
};

} // namespace quarnet::tools
