#pragma once

#include "tools/usage/HelpPage.h"

namespace quarnet::usage {

// What the completions of all shells are made of.
//
// Every shell finds out in the same way which command the words before the cursor have led to, and
// how many arguments it has got: its script knows which words are commands there, and which options
// are followed by a value.

/// The script with @NAME@, @DATA@ and, for names of functions, @ID@ filled in.
std::string filled(std::string script, const CLI::App& program, const std::string& data);

/// The name of a program or the path of a command as the name of a function.
std::string identifier(std::string path);

/// The text for a shell, in single quotes.
std::string inQuotes(std::string_view text);

/// The words with blanks between them.
std::string joined(const std::vector<std::string>& words);

std::string replaced(std::string text, std::string_view what, std::string_view with);

/// The parser and all those below it.
std::vector<const CLI::App*> everyCommand(const CLI::App& app);

/// The names of the commands right below a parser.
std::vector<std::string> commandNames(const CLI::App& app);

bool isRepeatable(const CLI::Option& option);

} // namespace quarnet::usage
