#include "tools/usage/CompletionParts.h"

#include <algorithm>

namespace quarnet::usage {

std::string filled(std::string script, const CLI::App& program, const std::string& data) {
  script = replaced(std::move(script), "@DATA@", data);
  script = replaced(std::move(script), "@ID@", identifier(program.get_name()));
  return replaced(std::move(script), "@NAME@", program.get_name());
}

std::string identifier(std::string path) {
  std::replace(path.begin(), path.end(), ' ', '_');
  std::replace(path.begin(), path.end(), '-', '_');
  return path;
}

std::string inQuotes(std::string_view text) {
  std::string word = "'";
  for (const char c : text)
    word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words)
    text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string replaced(std::string text, std::string_view what, std::string_view with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
    text.replace(at, what.size(), with);
  return text;
}

std::vector<const CLI::App*> everyCommand(const CLI::App& app) {
  std::vector<const CLI::App*> all = {&app};
  for (const CLI::App* command : commandsOf(app)) {
    const auto below = everyCommand(*command);
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}

bool isRepeatable(const CLI::Option& option) {
  return option.get_items_expected_max() > 1;
}

std::vector<std::string> commandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : commandsOf(app))
    names.push_back(command->get_name());
  return names;
}

} // namespace quarnet::usage
