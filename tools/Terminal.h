#pragma once

#include <string>
#include <string_view>

namespace quarnet::tools {

// What comes from outside must not reach the terminal as a command: control characters become
// blanks and bytes that are not UTF-8 become U+FFFD wherever it says "harmless".

/// One harmless line "quarnet: ..." on standard error.
void tell(std::string_view message);

/// The start of a text from outside, harmless and fit for one line of a message.
std::string excerpt(std::string_view text);

/// Writes to standard output as it is; on a terminal harmless, in lines of which the last one ends,
/// too, and JSON indented and, where the user has nothing against it, coloured.
void printText(std::string_view text);

/// Writes one whole harmless line to standard output at once.
void printLine(std::string_view line);

} // namespace quarnet::tools
