#include "tools/usage/Completion.h"
#include "tools/usage/CompletionParts.h"

namespace quarnet::usage {
namespace {

constexpr char kZsh[] = R"sh(#compdef @NAME@
# Completes the command line of @NAME@ in zsh.

@DATA@
if [[ $funcstack[1] == _@ID@ ]]; then _@ID@ "$@"; else compdef _@ID@ @NAME@; fi
)sh";

std::string zshFunction(const CLI::App& app) {
  return "_" + identifier(pathOf(app));
}

/// ":what:action" of zsh's _arguments.
std::string zshAction(const std::string& what, const Value& value) {
  const std::string action = value.isFile()          ? "_files"
                             : value.choices.empty() ? " "
                                                     : "(" + joined(value.choices) + ")";
  return ":" + replaced(what, ":", "\\:") + ":" + action;
}

std::string zshOptions(const CLI::Option& option) {
  std::string text = option.get_description();
  for (const char* special : {"\\", "[", "]", ":"})
    text = replaced(text, special, std::string("\\") + special);
  const Value value = valueOf(option);
  std::string lines;
  for (const std::string& name : namesOf(option)) {
    std::string entry = (isRepeatable(option) ? "*" : "") + name;
    if (!value.name.empty()) entry += name.starts_with("--") ? "=" : "+";
    entry += "[" + text + "]";
    if (!value.name.empty()) entry += zshAction(value.name, value);
    lines += "    " + inQuotes(entry) + " \\\n";
  }
  return lines;
}

/// The end of a function for a command that has commands itself.
std::string zshCommands(const CLI::App& app) {
  std::string list;
  std::string branches;
  for (const CLI::App* command : commandsOf(app)) {
    list += " " + inQuotes(command->get_name() + ":" + command->get_description());
    branches += "        " + command->get_name() + ") " + zshFunction(*command) + " ;;\n";
  }
  return "    '1: :->command' '*:: :->rest'\n  case $state in\n    command)\n      commands=(" +
         list +
         ")\n      _describe -t commands command commands\n      ;;\n    rest)\n"
         "      case $words[1] in\n" +
         branches + "      esac\n      ;;\n  esac\n}\n\n";
}

std::string zshFunctions(const CLI::App& app) {
  std::string text = zshFunction(app) + "() {\n  local state line context commands\n"
                                        "  typeset -A opt_args\n  _arguments -C -s -S \\\n";
  for (const CLI::Option* option : everyOption(app))
    text += zshOptions(*option);
  if (!commandsOf(app).empty()) {
    text += zshCommands(app);
  } else {
    for (const CLI::Option* argument : argumentsOf(app)) {
      const std::string entry = (isRepeatable(*argument) ? "*" : "") +
                                zshAction(argument->get_name(), valueOf(*argument));
      text += "    " + inQuotes(entry) + " \\\n";
    }
    text += "    && return\n}\n\n";
  }
  for (const CLI::App* command : commandsOf(app))
    text += zshFunctions(*command);
  return text;
}

} // namespace

std::string zshCompletion(const CLI::App& program) {
  return filled(kZsh, program, zshFunctions(program));
}

} // namespace quarnet::usage
