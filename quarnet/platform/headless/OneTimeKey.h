#pragma once

#include <string>
#include <string_view>

namespace quarnet::platform {

/// What the parameters of a call are encrypted with.
struct OneTimeKey {
  std::string key; // 32 characters
  std::string iv;  // 16 characters
};

/// The one key that goes with the name, so that nobody has to remember which was handed out.
inline OneTimeKey oneTimeKey(std::string_view swapKey) {
  const std::string filled = std::string(32, '0').append(swapKey);
  return {.key = filled.substr(filled.size() - 32), .iv = filled.substr(filled.size() - 16)};
}

} // namespace quarnet::platform
