#include "sandbox/ReceivedRequest.h"

#include "sandbox/Text.h"

namespace quarnet::sandbox {

std::string_view ReceivedRequest::path() const {
  const std::string_view whole = target;
  return whole.substr(0, whole.find('?'));
}

std::optional<std::string_view> ReceivedRequest::query() const {
  const std::size_t length = path().size();
  if (length == target.size()) return std::nullopt;
  return std::string_view(target).substr(length + 1);
}

std::optional<std::string_view> ReceivedRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers)
    if (equalIgnoringCase(key, name)) return value;
  return std::nullopt;
}

} // namespace quarnet::sandbox
