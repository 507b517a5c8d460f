#include "quarnet/core/StringUtil.h"

#include <array>
#include <utility>

namespace quarnet {
namespace {

constexpr std::array<bool, 256> makeUnreserved() {
  std::array<bool, 256> unreserved{};
  for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                       "0123456789-_.~")) {
    unreserved[static_cast<unsigned char>(c)] = true;
  }
  return unreserved;
}
constexpr std::array<bool, 256> kUnreserved = makeUnreserved();

void appendEscaped(std::string& out, std::string_view text) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (kUnreserved[byte]) {
      out += c;
    } else {
      out += '%';
      out += kHex[byte >> 4];
      out += kHex[byte & 15];
    }
  }
}

} // namespace

std::string escapeString(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  appendEscaped(escaped, text);
  return escaped;
}

std::string StringUtil::escapedString(std::string_view text) {
  return escapeString(text);
}

Text StringUtil::getQueryStringFromDictionary(const std::optional<Parameters>& parameters) {
  if (!parameters || parameters->empty()) return std::nullopt;
  std::string query;
  bool first = true;
  for (const auto& [key, value] : *parameters) {
    if (!std::exchange(first, false)) query += '&';
    appendEscaped(query, key);
    if (!value) continue;
    query += '=';
    appendEscaped(query, *value);
  }
  return query;
}

Text StringUtil::getValueFromQueryStringKey(std::string_view query, std::string_view key) {
  const std::string prefix = std::string(key) + '=';
  const std::size_t start = query.find(prefix);
  if (start == std::string_view::npos) return std::nullopt;
  const std::string_view rest = query.substr(start + prefix.size());
  return std::string(rest.substr(0, rest.find('&')));
}

} // namespace quarnet
