#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Text.h"

#include <string>
#include <string_view>

namespace quarnet {

/// Percent-escapes every byte but the unreserved characters A-Z a-z 0-9 - . _ ~ (RFC 3986, section
/// 2.3). A percent sign is escaped like any other byte: escaping twice turns "%20" into "%2520".
QUARNET_EXPORT std::string escapeString(std::string_view text);

/// Appends what escapeString() makes of `text`.
void appendEscaped(std::string& escaped, std::string_view text);

/// Escapes the bytes that are not allowed in a URL and leaves every legal character, the reserved
/// ones included, as it is. Absent stays absent. Weaker than escapeString() and meant to be.
Text addingPercentEscapes(const Text& text);

/// Undoes percent-escapes ("+" is no blank). Absent for a malformed escape or when the result is
/// not valid UTF-8.
Text replacingPercentEscapes(std::string_view text);

} // namespace quarnet
