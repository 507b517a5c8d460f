#include "tools/usage/Completion.h"
#include "tools/usage/CompletionParts.h"

namespace quarnet::usage {
namespace {

constexpr char kBash[] = R"sh(# Completes the command line of @NAME@ in bash.

# What there is behind the words $1: commands, options, those of them that take a value, and what
# the arguments are.
_@ID@_data() {
  case $1 in
@DATA@  esac
}

_@ID@() {
  local IFS=$' \t\n' line=${COMP_LINE:0:COMP_POINT} words=() word blanks i
  # bash takes words apart at ":" and "=".
  for ((i = 0; i <= COMP_CWORD; ++i)); do
    blanks=${line%%[![:space:]]*} line=${line#"${line%%[![:space:]]*}"}
    word=${COMP_WORDS[i]}
    ((i < COMP_CWORD)) || word=$line
    if ((i == 0)) || [[ -n $blanks ]]; then words+=("$word"); else words[-1]+=$word; fi
    line=${line#"$word"}
  done

  local path=@NAME@ commands options valued arguments=() option= count=0 only_arguments=
  _@ID@_data "$path"
  for word in "${words[@]:1:${#words[@]}-2}"; do
    if [[ -n $option ]]; then
      option=
    elif [[ -z $only_arguments && $word == -- ]]; then
      only_arguments=1
    elif [[ -z $only_arguments && $word == -?* ]]; then
      [[ " $valued " != *" $word "* ]] || option=$word
    elif [[ " $commands " == *" $word "* ]]; then
      path+=" $word" count=0
      _@ID@_data "$path"
    else
      ((++count))
    fi
  done

  local cur=${words[-1]} found='' before=
  if [[ -z $option && $cur == --*=* ]]; then
    option=${cur%%=*} before=${cur%%=*}= cur=${cur#*=}
    [[ $COMP_WORDBREAKS != *=* ]] || before=
  fi
  if [[ -n $option ]]; then
    _@ID@_data "$path $option"
  elif [[ -z $only_arguments && $cur == -* ]]; then
    found=$options
  else
    found="$commands ${arguments[count]-}"
  fi
  if [[ $found == *FILE ]]; then
    compopt -o default
    found=${found%FILE}
  fi
  # Finding nothing must not end a shell that ends with the first failure.
  COMPREPLY=($(compgen -P "$before" -W "$found" -- "$cur")) || :
}
complete -F _@ID@ @NAME@
)sh";

/// "FILE", or the words among which to choose.
std::string candidates(const Value& value) {
  return value.isFile() ? "FILE" : joined(value.choices);
}

/// A branch of bash's case for a command, and those for the options' values.
std::string bashBranches(const CLI::App& app) {
  std::vector<std::string> names;
  std::vector<std::string> valued;
  std::vector<std::string> arguments;
  std::string values;
  for (const CLI::Option* option : everyOption(app)) {
    const Value value = valueOf(*option);
    for (const std::string& name : namesOf(*option)) {
      names.push_back(name);
      if (value.name.empty()) continue;
      valued.push_back(name);
      if (candidates(value).empty()) continue;
      values += "    " + inQuotes(pathOf(app) + " " + name) +
                ") found=" + inQuotes(candidates(value)) + " ;;\n";
    }
  }
  for (const CLI::Option* argument : argumentsOf(app))
    arguments.push_back(inQuotes(candidates(valueOf(*argument))));
  return "    " + inQuotes(pathOf(app)) +
         ")\n      commands=" + inQuotes(joined(commandNames(app))) +
         "\n      options=" + inQuotes(joined(names)) +
         "\n      valued=" + inQuotes(joined(valued)) + "\n      arguments=(" + joined(arguments) +
         ")\n      ;;\n" + values;
}

} // namespace

std::string bashCompletion(const CLI::App& program) {
  std::string data;
  for (const CLI::App* app : everyCommand(program))
    data += bashBranches(*app);
  return filled(kBash, program, data);
}

} // namespace quarnet::usage
