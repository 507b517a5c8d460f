#include "quarnet/platform/UserDefaults.h"

namespace quarnet::platform {

Text UserDefaults::value(std::string_view key) {
  auto found = values({&key, 1});
  return found && !found->empty() ? std::move(found->front()) : std::nullopt;
}

void UserDefaults::setValue(std::string_view key, const Text& value) {
  const Entry entry{key, value};
  setValues({&entry, 1});
}

} // namespace quarnet::platform
