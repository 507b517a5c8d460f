#include "sandbox/Json.h"

#include "sandbox/Text.h"

#include <algorithm>
#include <boost/json/src.hpp>
#include <cctype>

namespace quarnet::sandbox {
namespace {

namespace json = boost::json;

bool isElementName(std::string_view name) {
  const auto inside = [](unsigned char c) { return std::isalnum(c) || c == '_' || c == '-'; };
  return !name.empty() && std::isalpha(static_cast<unsigned char>(name.front())) &&
         std::ranges::all_of(name, inside);
}

/// XML has no way to carry most control characters.
std::string xmlText(std::string_view text) {
  std::string safe;
  for (const char c : markupEscaped(text)) {
    const bool allowed =
        static_cast<unsigned char>(c) >= ' ' || c == '\t' || c == '\n' || c == '\r';
    if (allowed)
      safe += c;
    else
      safe += "\uFFFD";
  }
  return safe;
}

void appendXml(std::string& xml, std::string_view name, const json::value& value) {
  std::string close(name);
  if (isElementName(name)) {
    xml.append("<").append(name).append(">");
  } else {
    xml.append("<entry name=\"").append(xmlText(name)).append("\">");
    close = "entry";
  }
  if (const auto* object = value.if_object()) {
    for (const auto& member : *object)
      appendXml(xml, member.key(), member.value());
  } else if (const auto* array = value.if_array()) {
    for (const auto& item : *array)
      appendXml(xml, "item", item);
  } else if (const auto* text = value.if_string()) {
    xml += xmlText(*text);
  } else if (!value.is_null()) {
    xml += json::serialize(value);
  }
  xml.append("</").append(close).append(">");
}

} // namespace

Reply jsonReply(unsigned status, const json::value& value) {
  return {.status = status, .contentType = "application/json", .body = json::serialize(value)};
}

Reply xmlReply(unsigned status, std::string_view root, const json::value& value) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  appendXml(xml, root, value);
  return {.status = status, .contentType = "application/xml", .body = std::move(xml)};
}

Reply errorReply(unsigned status, std::string_view error, std::string_view description) {
  return jsonReply(status, {{"error", error}, {"error_description", description}});
}

} // namespace quarnet::sandbox
