#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet {

/// Percent-escapes every byte but the unreserved characters A-Z a-z 0-9 - . _ ~ (RFC 3986, section
/// 2.3). A percent sign is escaped like any other byte: escaping twice turns "%20" into "%2520".
QUARNET_EXPORT std::string escapeString(std::string_view text);

/// Query strings. Safe from any thread.
class QUARNET_EXPORT StringUtil {
public:
  StringUtil() = delete;

  /// escapeString() under its other name.
  static std::string escapedString(std::string_view text);

  /// "key=value" pairs joined by "&", both sides escaped; a key without a value stands alone.
  /// Absent, not empty, when there are no parameters.
  static Text getQueryStringFromDictionary(const Parameters& parameters);
  static Text getQueryStringFromDictionary(const std::optional<Parameters>& parameters) {
    return parameters ? getQueryStringFromDictionary(*parameters) : Text();
  }

  /// What stands between the first "KEY=" anywhere in `query` and the next "&" or the end, escapes
  /// untouched; absent when "KEY=" does not occur. The search is not anchored at a pair: the key
  /// "code" finds its text in "barcode=1" first. This is meant.
  static Text getValueFromQueryStringKey(std::string_view query, std::string_view key);
};

} // namespace quarnet
