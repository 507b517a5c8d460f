#pragma once

#include <CLI/App.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::usage {

/// What there is to say about a program or one of its commands, taken from its parser: the one
/// source of --help and of the manual page.
struct HelpPage {
  struct Row {
    std::string term; ///< stands alone on its line without a text
    std::string text; ///< a paragraph without a term
  };
  struct Section {
    std::string title;
    std::vector<Row> rows;
  };

  std::string name; ///< with the commands that lead there: "quarnet token import"
  std::string summary;
  std::string arguments; ///< "[OPTIONS] METHOD URL"
  std::vector<Section> sections;
};

/// The page of a parser, with the options of those above it.
///
/// Its footer becomes paragraphs and sections. A line that ends with ":" is a title, and the lines
/// below it that begin with two blanks are its rows: "  term  text", or a term alone.
HelpPage helpPage(const CLI::App& app);

/// The commands that lead to the parser: "quarnet token import".
std::string pathOf(const CLI::App& app);

/// The commands of a parser, in the order in which they were added.
std::vector<const CLI::App*> commandsOf(const CLI::App& app);

/// The parser and those above it, whose options it takes as well.
std::vector<const CLI::App*> withParents(const CLI::App& app);

/// The options of a parser that are to be seen, and its arguments without a name.
std::vector<const CLI::Option*> optionsOf(const CLI::App& app);
std::vector<const CLI::Option*> argumentsOf(const CLI::App& app);

/// The options of a parser and of those above it, each once.
std::vector<const CLI::Option*> everyOption(const CLI::App& app);

/// Every name of an option with its hyphens, short ones first.
std::vector<std::string> namesOf(const CLI::Option& option);

/// What an option or an argument takes.
struct Value {
  std::string name;                 ///< "FILE"; empty when it takes nothing
  std::vector<std::string> choices; ///< empty when it is not one of a few
  bool isFile() const { return name == "FILE"; }
};
Value valueOf(const CLI::Option& option);

} // namespace quarnet::usage
