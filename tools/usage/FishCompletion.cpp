#include "tools/usage/Completion.h"
#include "tools/usage/CompletionParts.h"

namespace quarnet::usage {
namespace {

constexpr char kFish[] = R"sh(# Completes the command line of @NAME@ in fish.

# Whether the words before the cursor led to the command $argv[1], and, if it is given, whether that
# has got as many arguments as $argv[2] says.
function __@ID@_is_at
    set -l path @NAME@
    set -l count 0
    set -l option
    set -l words (commandline -opc)
    for word in $words[2..]
        if test -n "$option"
            set option
        else if string match -qr -- '^-.' $word
            contains -- "$path $word" $__@ID@_valued; and set option $word
        else if contains -- "$path $word" $__@ID@_commands
            set path "$path $word"
            set count 0
        else
            set count (math $count + 1)
        end
    end
    test "$path" = "$argv[1]"; and test (count $argv) = 1 -o "$count" = "$argv[2]"
end

complete -c @NAME@ -f
@DATA@)sh";

/// "complete ..." of fish for where the words have led to the command, and to an argument of it.
std::string fishLine(const CLI::App& app, const std::string& rest, const std::string& place = "") {
  const std::string condition =
      "__@ID@_is_at \"" + pathOf(app) + "\"" + (place.empty() ? "" : " " + place);
  return "complete -c @NAME@ -n " + inQuotes(condition) + rest + "\n";
}

/// What fish offers for a value.
std::string fishValue(const Value& value) {
  if (value.isFile()) return " -r -F";
  return value.choices.empty() ? " -x" : " -x -a " + inQuotes(joined(value.choices));
}

std::string fishOption(const CLI::App& app, const CLI::Option& option) {
  std::string rest;
  for (const std::string& name : option.get_snames())
    rest += " -s " + name;
  for (const std::string& name : option.get_lnames())
    rest += " -l " + name;
  const Value value = valueOf(option);
  if (!value.name.empty()) rest += fishValue(value);
  return fishLine(app, rest + " -d " + inQuotes(option.get_description()));
}

std::string fishLines(const CLI::App& app) {
  std::string lines;
  for (const CLI::App* command : commandsOf(app)) {
    lines +=
        fishLine(app, " -a " + command->get_name() + " -d " + inQuotes(command->get_description()));
  }
  const auto arguments = argumentsOf(app);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Value value = valueOf(*arguments[i]);
    if (value.isFile()) lines += fishLine(app, " -F", std::to_string(i));
    if (!value.choices.empty())
      lines += fishLine(app, " -a " + inQuotes(joined(value.choices)), std::to_string(i));
  }
  for (const CLI::Option* option : everyOption(app))
    lines += fishOption(app, *option);
  return lines;
}

} // namespace

std::string fishCompletion(const CLI::App& program) {
  std::string commands = "set -g __@ID@_commands";
  std::string valued = "set -g __@ID@_valued";
  std::string lines;
  for (const CLI::App* app : everyCommand(program)) {
    for (const std::string& name : commandNames(*app))
      commands += " " + inQuotes(pathOf(*app) + " " + name);
    for (const CLI::Option* option : everyOption(*app)) {
      for (const std::string& name : namesOf(*option))
        if (!valueOf(*option).name.empty()) valued += " " + inQuotes(pathOf(*app) + " " + name);
    }
    lines += fishLines(*app);
  }
  return filled(kFish, program, commands + "\n" + valued + "\n" + lines);
}

} // namespace quarnet::usage
