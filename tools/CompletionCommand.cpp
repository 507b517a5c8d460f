#include "tools/CompletionCommand.h"

#include "tools/Terminal.h"
#include "tools/usage/Completion.h"

#include <CLI/Validators.hpp>

namespace quarnet::tools {

CompletionCommand::CompletionCommand(CLI::App& program)
    : Command(*program.add_subcommand("completion", "Show a shell's completion of this program")),
      program_(program) {
  options()
      .add_option("SHELL", shell_, "bash, zsh or fish")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  options().footer("An installed quarnet brings it along. Without one:\n"
                   "Examples:\n"
                   "  source <(quarnet completion bash)\n"
                   "  source <(quarnet completion zsh)\n"
                   "  quarnet completion fish | source\n");
}

int CompletionCommand::run() {
  printText(shell_ == "bash"  ? usage::bashCompletion(program_)
            : shell_ == "zsh" ? usage::zshCompletion(program_)
                              : usage::fishCompletion(program_));
  return kDone;
}

} // namespace quarnet::tools
