// `quarnet-login`: what `quarnet login` runs; takes the arguments of `quarnet`.

#include "tools/LoginOptions.h"
#include "tools/login/LoginWindow.h"
#include "tools/usage/CommandLine.h"

int main(int argc, char** argv) {
  using namespace quarnet;
  CLI::App program("Sign in in a window and store the tokens.", "quarnet");
  usage::prepare(program);
  program.fallthrough();
  tools::addLogin(program);
  tools::Settings settings;
  settings.addOptions(program);
  if (const auto code = usage::parse(program, argc, argv)) return *code;
  return usage::finished(program, tools::LoginWindow(settings).run());
}
