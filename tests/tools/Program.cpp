#include "tests/tools/Program.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace quarnet::test {
namespace {

std::string quoted(const std::string& argument) {
  std::string text = "'";
  for (const char c : argument)
    text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

std::string contents(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

} // namespace

std::vector<std::string> Outcome::lines() const {
  std::istringstream text(out);
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);)
    lines.push_back(line);
  return lines;
}

Outcome runQuarnet(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                   const std::map<std::string, std::string>& environment,
                   const std::string& input) {
  std::ofstream(folder / "in", std::ios::binary) << input;
  // A sanitizer keeps its options.
  std::string command = R"(exec env -i ${TSAN_OPTIONS:+TSAN_OPTIONS="$TSAN_OPTIONS"})";
  for (const auto& [name, value] : environment)
    command += ' ' + quoted(name + '=' + value);
  command += ' ' + quoted(QUARNET_PROGRAM);
  for (const std::string& argument : arguments)
    command += ' ' + quoted(argument);
  for (const auto& [stream, file] : {std::pair("<", "in"), {">", "out"}, {"2>", "err"}})
    command += ' ' + (stream + quoted(folder / file));
  const int status = std::system(command.c_str());
  return {.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1,
          .out = contents(folder / "out"),
          .err = contents(folder / "err")};
}

} // namespace quarnet::test
