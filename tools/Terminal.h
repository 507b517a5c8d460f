#pragma once

#include <string>
#include <string_view>

namespace quarnet::tools {

/// One line "quarnet: ..." on standard error.
void tell(std::string_view message);

/// The start of a text from outside, fit for one line of a message: control characters become
/// blanks.
std::string excerpt(std::string_view text);

/// Writes to standard output as it is; on a terminal the text ends with a line break.
void printText(std::string_view text);

/// Writes one whole line to standard output at once.
void printLine(std::string line);

} // namespace quarnet::tools
