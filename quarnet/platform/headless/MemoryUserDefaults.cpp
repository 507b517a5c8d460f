#include "quarnet/platform/headless/MemoryUserDefaults.h"

#include "quarnet/platform/Platform.h"

namespace quarnet::platform {

Dictionary MemoryUserDefaults::saved() const {
  const std::lock_guard lock(mutex_);
  return saved_;
}

void MemoryUserDefaults::dropUnsaved() {
  const std::lock_guard lock(mutex_);
  texts_ = saved_;
}

std::optional<std::vector<Text>>
MemoryUserDefaults::values(std::span<const std::string_view> keys) {
  if (!canBeRead) {
    log("user defaults cannot be read : the test forbids it");
    return std::nullopt;
  }
  std::vector<Text> found;
  const std::lock_guard lock(mutex_);
  for (const std::string_view key : keys) {
    const auto text = texts_.find(std::string(key));
    found.push_back(text == texts_.end() ? Text() : text->second);
  }
  return found;
}

void MemoryUserDefaults::setValues(std::span<const Entry> entries) {
  const std::lock_guard lock(mutex_);
  Dictionary changed = texts_; // all entries or none, also without memory
  for (const auto& [key, value] : entries) {
    if (value) {
      changed[std::string(key)] = *value;
    } else {
      changed.erase(std::string(key));
    }
  }
  texts_.swap(changed);
}

void MemoryUserDefaults::synchronize() {
  if (!canBeWritten) return log("user defaults cannot be saved : the test forbids it");
  const std::lock_guard lock(mutex_);
  saved_ = texts_;
}

} // namespace quarnet::platform
