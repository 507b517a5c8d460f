#include "tools/Program.h"

#include "tools/CompletionCommand.h"
#include "tools/HelpCommand.h"
#include "tools/LoginCommand.h"
#include "tools/LogoutCommand.h"
#include "tools/ReissueCommand.h"
#include "tools/RequestCommand.h"
#include "tools/Terminal.h"
#include "tools/TokenCommand.h"
#include "tools/VersionCommand.h"
#include "tools/usage/CommandLine.h"

#include <new>

namespace quarnet::tools {
namespace {

constexpr char kFooter[] =
    "Examples:\n"
    "  quarnet login\n"
    "  quarnet request GET https://api.quarnet.example/v1/places -p keyword=서울역\n"
    "  quarnet request POST https://api.quarnet.example/v1/people --payload-file person.json\n"
    "  quarnet token --json\n"
    "\n"
    "Files:\n"
    "  ~/.local/share/quarnet/quarnet.sqlite  The token record, unless --store or --keyring says "
    "where ($XDG_DATA_HOME stands for ~/.local/share).\n"
    "\n"
    "Environment:\n"
    "  NO_COLOR  Not empty: no colours on a terminal. None are shown where TERM is dumb, either.\n"
    "\n"
    "Exit status:\n"
    "  0  Done.\n"
    "  1  Failed; why is told on standard error.\n"
    "  2  Wrong usage; nothing was done.\n"
    "  3  Login: the window was closed.\n"
    "  4  Login: the server or the user refused.\n"
    "  5  Login: the code that the page brought was not exchanged for tokens.\n"
    "  6  Nobody is signed in, or the server does not take the tokens any more.\n"
    "  130  Interrupted by Ctrl-C.\n";

} // namespace

Program::Program(char** argv) : argv_(argv), parser_("Call the Quarnet API.", "quarnet") {
  usage::prepare(parser_);
  parser_.require_subcommand(1);
  parser_.fallthrough();
  settings_.addOptions(parser_);
  commands_.push_back(std::make_unique<LoginCommand>(parser_, argv));
  commands_.push_back(std::make_unique<RequestCommand>(parser_, settings_));
  commands_.push_back(std::make_unique<TokenCommand>(parser_, settings_));
  commands_.push_back(std::make_unique<ReissueCommand>(parser_, settings_));
  commands_.push_back(std::make_unique<LogoutCommand>(parser_, settings_));
  commands_.push_back(std::make_unique<CompletionCommand>(parser_));
  commands_.push_back(std::make_unique<VersionCommand>(parser_));
  commands_.push_back(std::make_unique<HelpCommand>(parser_));
  parser_.footer(kFooter); // last, since a command begins with the footer that is there
}

int Program::run(int argc) {
  if (const auto code = usage::parse(parser_, argc, argv_)) return *code;
  return usage::finished(parser_, runCommand());
}

int Program::runCommand() {
  try {
    for (const auto& command : commands_) {
      if (command->chosen()) return command->run();
    }
  } catch (const std::bad_alloc&) {
    tell("there is not enough memory for this");
    return kFailed;
  }
  return kWrongUsage;
}

} // namespace quarnet::tools
