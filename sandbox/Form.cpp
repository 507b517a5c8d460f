#include "sandbox/Form.h"

#include "sandbox/Text.h"

#include <algorithm>

namespace quarnet::sandbox {

Form::Form(std::string_view encoded) {
  while (!encoded.empty()) {
    const std::string_view pair = encoded.substr(0, encoded.find('&'));
    encoded.remove_prefix(std::min(encoded.size(), pair.size() + 1));
    if (pair.empty()) continue;
    const std::string_view name = pair.substr(0, pair.find('='));
    const std::string_view value = pair.substr(std::min(pair.size(), name.size() + 1));
    pairs_.emplace_back(percentDecoded(name, Plus::blank), percentDecoded(value, Plus::blank));
  }
}

std::optional<std::string> Form::get(std::string_view name) const {
  for (const auto& [key, value] : pairs_)
    if (key == name) return value;
  return std::nullopt;
}

std::optional<std::string> Form::repeatedName() const {
  std::vector<std::string> names;
  for (const auto& pair : pairs_)
    names.push_back(pair.first);
  std::ranges::sort(names);
  const auto twice = std::ranges::adjacent_find(names);
  return twice == names.end() ? std::nullopt : std::optional(*twice);
}

} // namespace quarnet::sandbox
