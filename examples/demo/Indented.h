#pragma once

#include <string>

namespace demo {

/// A JSON text with a line for each member; another text comes back as it is.
std::string indented(const std::string& text);

} // namespace demo
