#pragma once

#include <string>
#include <string_view>

namespace quarnet::tools {

/// A JSON text as it is shown to people: a line for each member, with colours if wanted. Another
/// text, and one that is too long to be read, comes back as it is.
std::string shownJson(std::string_view text, bool hasColours);

} // namespace quarnet::tools
