#pragma once

#include <CLI/App.hpp>

namespace quarnet::tools {

/// What the program's exit status says.
enum ExitCode {
  kDone = 0,
  kFailed = 1,
  kWrongUsage = 2,
  // The ways in which a login ends that failed neither here nor on the way to the server.
  kClosedByUser = 3,
  kRefusedByServer = 4,
  kExchangeFailed = 5,
  kInterrupted = 130,
};

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
