#include "quarnet/platform/HttpRequest.h"

#include <algorithm>
#include <strings.h>

namespace quarnet::platform {
namespace {

bool sameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace

void HttpRequest::setHeaderField(std::string_view name, Text value) {
  const auto field = std::find_if(headerFields.begin(), headerFields.end(),
                                  [&](const auto& entry) { return sameName(entry.first, name); });
  if (!value) {
    if (field != headerFields.end()) headerFields.erase(field);
  } else if (field != headerFields.end()) {
    field->second = std::move(*value);
  } else {
    headerFields.emplace_back(name, std::move(*value));
  }
}

const std::string* HttpRequest::headerField(std::string_view name) const {
  for (const auto& [fieldName, value] : headerFields) {
    if (sameName(fieldName, name)) return &value;
  }
  return nullptr;
}

} // namespace quarnet::platform
