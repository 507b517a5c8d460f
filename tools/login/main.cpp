// `quarnet-login`: what `quarnet login` runs; takes the arguments of `quarnet`.

#include "tools/Command.h"
#include "tools/login/LoginWindow.h"

#include <CLI/CLI.hpp>

int main(int argc, char** argv) {
  using namespace quarnet::tools;
  CLI::App program("Signs in in a window and stores the tokens.", "quarnet");
  program.fallthrough();
  program.add_subcommand("login");
  Settings settings;
  settings.addOptions(program);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& outcome) {
    return program.exit(outcome) == 0 ? kDone : kWrongUsage;
  }
  return LoginWindow(settings).run();
}
