#include "tools/HelpCommand.h"

#include "tools/Terminal.h"
#include "tools/usage/CommandLine.h"
#include "tools/usage/HelpPage.h"

#include <algorithm>

namespace quarnet::tools {

HelpCommand::HelpCommand(CLI::App& program)
    : Command(*program.add_subcommand("help", "Show the help of a command")), program_(program) {
  std::string names;
  for (const CLI::App* command : usage::commandsOf(program))
    names += (names.empty() ? "{" : ",") + command->get_name();
  options()
      .add_option("COMMAND", path_, "The program itself when left out")
      ->type_name(names + "}");
}

int HelpCommand::run() {
  const CLI::App* app = &program_;
  for (const std::string& word : path_) {
    const auto commands = usage::commandsOf(*app);
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const CLI::App* one) { return one->get_name() == word; });
    if (found == commands.end()) return usage::unknownCommand(*app, word);
    app = *found;
  }
  printText(app->get_formatter()->make_help(app, "", CLI::AppFormatMode::Normal));
  return kDone;
}

} // namespace quarnet::tools
