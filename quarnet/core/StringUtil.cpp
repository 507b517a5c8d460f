#include "quarnet/core/StringUtil.h"

#include <utility>

namespace quarnet {

std::string StringUtil::escapedString(std::string_view text) {
  return escapeString(text);
}

Text StringUtil::getQueryStringFromDictionary(const Parameters& parameters) {
  if (parameters.empty()) return std::nullopt;
  std::string query;
  std::string_view separator;
  for (const auto& [key, value] : parameters) {
    query += std::exchange(separator, "&");
    appendEscaped(query, key);
    if (!value) continue;
    query += '=';
    appendEscaped(query, *value);
  }
  return query;
}

Text StringUtil::getValueFromQueryStringKey(std::string_view query, std::string_view key) {
  const std::string marker = std::string(key) + '=';
  const std::size_t found = query.find(marker);
  if (found == std::string_view::npos) return std::nullopt;
  const std::string_view rest = query.substr(found + marker.size());
  return std::string(rest.substr(0, rest.find('&')));
}

} // namespace quarnet
