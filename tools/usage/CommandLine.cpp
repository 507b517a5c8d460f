#include "tools/usage/CommandLine.h"

#include "tools/usage/Harmless.h"
#include "tools/usage/HelpPage.h"
#include "tools/usage/HelpText.h"
#include "tools/usage/Nearest.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace quarnet::usage {
namespace {

constexpr std::size_t kLongestWord = 100;

std::string programOf(const CLI::App& app) {
  return withParents(app).back()->get_name();
}

void tell(const CLI::App& app, std::string_view message) {
  const std::string line = programOf(app) + ": " + harmless(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

int wrongUsage(const CLI::App& app, std::string_view message) {
  tell(app, message);
  std::cerr << "Try `" << pathOf(app) << " --help`.\n";
  return kWrongUsage;
}

/// A stream that the caller closed would become the next file or connection that is opened. What
/// takes its place fails as a closed one does.
void holdStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) != -1) continue;
    // It gets the lowest number that is free.
    [[maybe_unused]] const int taken =
        open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

/// What a word that nothing is known of was probably meant to be: "; did you mean a or b?"
std::string suggestion(std::string_view word, const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& one : nearest(word, words))
    text += (text.empty() ? "; did you mean " : " or ") + one;
  return text.empty() ? text : text + "?";
}

/// The command that the command line led to.
const CLI::App& chosen(const CLI::App& app) {
  const auto commands = app.get_subcommands();
  return commands.empty() ? app : chosen(*commands.back());
}

int unknownOption(const CLI::App& app, const std::string& word) {
  std::vector<std::string> known;
  for (const CLI::Option* option : everyOption(app))
    for (const std::string& name : namesOf(*option))
      known.push_back(name);
  const std::string name = word.substr(0, std::min(word.find('='), kLongestWord));
  return wrongUsage(app, "there is no option " + name + suggestion(name, known));
}

/// The first word that nothing is known of; absent when all are known.
std::optional<std::string> unknownWord(const CLI::App& program) {
  for (const std::string& word : program.remaining(true))
    if (word != "--") return word;
  return std::nullopt;
}

std::string reasonOf(const CLI::App& app, const CLI::ParseError& problem) {
  constexpr std::size_t kLongest = 400;
  const bool wantsCommand = problem.get_name() == "RequiredError" && !commandsOf(app).empty();
  return wantsCommand ? "COMMAND is required" : std::string(problem.what()).substr(0, kLongest);
}

int report(const CLI::App& program, const CLI::ParseError& problem) {
  if (problem.get_exit_code() == 0) return finished(program, program.exit(problem));
  const CLI::App& app = chosen(program);
  if (app.get_help_ptr()->count() > 0) { // whatever is wrong, in a variable perhaps
    std::cout << app.help();
    return finished(program, kDone);
  }
  const auto word = unknownWord(program);
  if (!word) return wrongUsage(app, reasonOf(app, problem));
  if (word->size() > 1 && word->starts_with('-')) return unknownOption(app, *word);
  if (!commandsOf(app).empty()) return unknownCommand(app, *word);
  return wrongUsage(app, "there is one argument too many: " + word->substr(0, kLongestWord));
}

} // namespace

std::string_view version() {
  return PROGRAMS_VERSION;
}

void prepare(CLI::App& program) {
  program.formatter(std::make_shared<HelpText>());
  program.set_help_flag("-h,--help", "Show this help");
  program.set_version_flag("--version", program.get_name() + " " + std::string(version()),
                           "Show the version");
}

std::optional<int> parse(CLI::App& program, int argc, char** argv) {
  holdStandardStreams();
  try {
    program.parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::ParseError& outcome) {
    return report(program, outcome);
  }
}

int unknownCommand(const CLI::App& app, std::string_view word) {
  std::vector<std::string> known;
  for (const CLI::App* command : commandsOf(app))
    known.push_back(command->get_name());
  const std::string name(word.substr(0, kLongestWord));
  return wrongUsage(app, "there is no command " + name + suggestion(name, known));
}

int finished(const CLI::App& program, int code) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
  // Not why: that was known to whichever write failed first.
  tell(program, "standard output could not be written");
  return kFailed;
}

} // namespace quarnet::usage
