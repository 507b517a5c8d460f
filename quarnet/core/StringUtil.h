#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet {

/// Query strings. Safe from any thread.
class QUARNET_EXPORT StringUtil {
public:
  StringUtil() = delete;

  /// escapeString() under its other name.
  static std::string escapedString(std::string_view text);

  /// "key=value" pairs joined by "&", both sides escaped; a key without a value stands alone.
  /// Absent, not empty, when there are no parameters.
  static Text getQueryStringFromDictionary(const Parameters& parameters);
  /// The same; absent parameters are none.
  static Text getQueryStringFromDictionary(const std::optional<Parameters>& parameters) {
    return parameters ? getQueryStringFromDictionary(*parameters) : Text();
  }

  /// The text between the first "KEY=" anywhere in `query` and the next "&" or the end, escapes
  /// untouched; absent when "KEY=" does not occur. The search is not anchored at a pair: the key
  /// "code" is found in "barcode=1", too. This is meant.
  static Text getValueFromQueryStringKey(std::string_view query, std::string_view key);
};

} // namespace quarnet
