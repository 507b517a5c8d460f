#include "quarnet/core/StringUtil.h"

#include <cstring>
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
  if (query.size() < marker.size()) return std::nullopt;
  // Not find(), which could block the process for minutes: a page may choose both texts.
  const void* const found = memmem(query.data(), query.size(), marker.data(), marker.size());
  if (found == nullptr) return std::nullopt;
  query.remove_prefix(static_cast<std::size_t>(static_cast<const char*>(found) - query.data()));
  query.remove_prefix(marker.size());
  return std::string(query.substr(0, query.find('&')));
}

} // namespace quarnet
