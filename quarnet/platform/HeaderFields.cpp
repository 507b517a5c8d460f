#include "quarnet/platform/HeaderFields.h"

#include "quarnet/core/Text.h"

#include <algorithm>

namespace quarnet::platform {

HeaderFields::HeaderFields(std::initializer_list<Field> fields) {
  for (const auto& [name, value] : fields)
    set(name, value);
}

void HeaderFields::set(std::string_view name, std::optional<std::string_view> value) {
  if (value) {
    if (fields_.empty()) fields_.reserve(7); // an ordinary call; thousands may wait
    fields_.push_back({std::string(name), std::string(*value)}); // first, since it may throw
  }
  const auto old = fields_.end() - (value ? 1 : 0);
  const auto isReplaced = [name](const Field& field) { return sameIgnoringCase(field.name, name); };
  fields_.erase(std::remove_if(fields_.begin(), old, isReplaced), old);
}

std::optional<std::string_view> HeaderFields::get(std::string_view name) const {
  const auto found = std::find_if(
      begin(), end(), [name](const Field& field) { return sameIgnoringCase(field.name, name); });
  return found != end() ? std::optional<std::string_view>(found->value) : std::nullopt;
}

} // namespace quarnet::platform
