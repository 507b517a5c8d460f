// Escapes, query strings and numbers against the sandbox's and against plain searches; JSON against
// another reader.

#include "fuzz/support/Fuzz.h"
#include "sandbox/Form.h"
#include "sandbox/Text.h"

#include "quarnet/core/Json.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"

#include <regex>
#include <simdjson.h>

namespace quarnet::fuzz {
namespace {

using simdjson::dom::element;

/// Absent for an escape that is not two hexadecimal digits.
Text plainlyUnescaped(const std::string& text) {
  for (std::size_t at = text.find('%'); at != text.npos; at = text.find('%', at + 3)) {
    if (sandbox::hexDecoded(text.substr(at + 1, 2)).value_or("").empty()) return std::nullopt;
  }
  return utf8Text(sandbox::percentDecoded(text));
}

Text plainlyFound(const std::string& query, const std::string& key) {
  const std::size_t at = query.find(key + '=');
  if (at == query.npos) return std::nullopt;
  const std::string value = query.substr(at + key.size() + 1);
  return value.substr(0, value.find('&'));
}

bool isSame(const std::string& text, element value) {
  static simdjson::dom::parser parser;
  if (value.is_string()) return text == value.get_string().value();
  if (value.is_bool()) return text == (value.get_bool() ? "1" : "0");
  if (value.is_null()) return text == "<null>";
  if (value.is_number()) return std::strtod(text.c_str(), nullptr) == value.get_double().value();
  return simdjson::to_string(parser.parse(text).value()) == simdjson::to_string(value);
}

} // namespace

void texts(Input input) {
  const std::string key = input.piece();
  const std::string text = input.rest();
  const std::string escaped = escapeString(text);
  expect(escaped == sandbox::percentEncoded(text));
  expect(replacingPercentEscapes(escaped) == utf8Text(text));
  expect(replacingPercentEscapes(text) == plainlyUnescaped(text));
  expect(sandbox::percentDecoded(*addingPercentEscapes(text)) == text);
  expect(StringUtil::getValueFromQueryStringKey(text, key) == plainlyFound(text, key));
  const Parameters parameters{{key, text}, {key + '&', key}};
  const sandbox::Form form(*StringUtil::getQueryStringFromDictionary(parameters));
  expect(form.get(key) == text && form.get(key + '&') == key);
  expect(integerValue(text) == std::strtoll(text.c_str(), nullptr, 10));
  expect(sameIgnoringCase(key, text) == sandbox::equalIgnoringCase(key, text));
}

void json(Input input) {
  static simdjson::dom::parser parser;
  // What the other reader may refuse though it is sound: halves of pairs and large numbers.
  static const std::regex odd(R"(\\u[dD]|[eE]|\d{19})");
  const std::string text = input.rest();
  const std::string plain = text.substr(text.starts_with("\xEF\xBB\xBF") ? 3 : 0);
  simdjson::dom::object object;
  const bool isTaken = parser.parse(plain).get(object) == simdjson::SUCCESS;
  const std::optional<Json> json = Json::parse(text);
  expect(json.has_value() == isTaken || (json && std::regex_search(text, odd)));
  if (!isTaken) return;
  std::map<std::string_view, element> members; // the last one of each name
  for (const auto [name, value] : object)
    members[name] = value;
  for (const auto& [name, value] : members)
    expect(isSame(memberText(json, name).value(), value));
}

} // namespace quarnet::fuzz
