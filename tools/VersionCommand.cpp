#include "tools/VersionCommand.h"

#include "tools/Terminal.h"

namespace quarnet::tools {

VersionCommand::VersionCommand(CLI::App& program)
    : Command(*program.add_subcommand("version", "Show the version")), program_(program) {}

int VersionCommand::run() {
  printLine(program_.version());
  return kDone;
}

} // namespace quarnet::tools
