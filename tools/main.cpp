// `quarnet`: the SDK's calls on the command line.

#include "tools/LoginCommand.h"
#include "tools/LogoutCommand.h"
#include "tools/ReissueCommand.h"
#include "tools/RequestCommand.h"
#include "tools/Settings.h"
#include "tools/Terminal.h"
#include "tools/TokenCommand.h"

#include "quarnet/core/Version.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

using namespace quarnet::tools;

/// The parser's own exit codes are many; ours are few.
int report(const CLI::App& program, const CLI::ParseError& outcome) {
  return program.exit(outcome, std::cout, std::cerr) == 0 ? kDone : kWrongUsage;
}

int runProgram(int argc, char** argv) {
  CLI::App program("Signs in to the API, sends its calls and shows what comes back.", "quarnet");
  program.set_version_flag("--version", "quarnet " + std::string(quarnet::version()));
  program.require_subcommand(1);
  program.fallthrough();

  Settings settings;
  settings.addOptions(program);
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(std::make_unique<LoginCommand>(program, argv));
  commands.push_back(std::make_unique<RequestCommand>(program, settings));
  commands.push_back(std::make_unique<TokenCommand>(program, settings));
  commands.push_back(std::make_unique<ReissueCommand>(program, settings));
  commands.push_back(std::make_unique<LogoutCommand>(program, settings));
  program.footer("Exit status: 0 done, 1 failed, 2 wrong usage, 130 interrupted by Ctrl-C.");

  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& outcome) {
    return report(program, outcome);
  }
  try {
    for (const auto& command : commands) {
      if (command->chosen()) return command->run();
    }
  } catch (const std::bad_alloc&) {
    tell("there is not enough memory for this");
    return kFailed;
  }
  return kWrongUsage;
}

} // namespace

int main(int argc, char** argv) {
  const int code = runProgram(argc, argv);
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
  // Not why: that was known to whichever write failed first.
  tell("standard output could not be written");
  return kFailed;
}
