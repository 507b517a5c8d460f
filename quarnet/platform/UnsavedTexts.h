#pragma once

#include "quarnet/core/Wipe.h"
#include "quarnet/platform/UserDefaults.h"

#include <algorithm>
#include <map>
#include <string>

namespace quarnet::platform {

/// What was set in a store or removed from it, and is not saved yet. Its texts are overwritten when
/// they are forgotten. To be used by one thread at a time.
class UnsavedTexts {
public:
  /// An absent text removes the entry.
  using Changes = std::map<std::string, Text, std::less<>>;

  UnsavedTexts() = default;
  ~UnsavedTexts() { forget(); }
  UnsavedTexts(const UnsavedTexts&) = delete;
  UnsavedTexts& operator=(const UnsavedTexts&) = delete;

  const Changes& changes() const { return changes_; }
  bool empty() const { return changes_.empty(); }

  /// Takes all entries or, when it throws std::bad_alloc, none.
  void set(std::span<const UserDefaults::Entry> entries) {
    Changes changes;
    for (const auto& [key, value] : entries)
      changes[std::string(key)] = value ? Text(*value) : std::nullopt;
    changes.merge(changes_);
    forget(); // what was set anew
    changes_.swap(changes);
  }

  bool haveAll(std::span<const std::string_view> keys) const {
    return std::all_of(keys.begin(), keys.end(),
                       [this](std::string_view key) { return changes_.contains(key); });
  }

  /// Puts what is set here in the place of what was found under the keys.
  void overlay(std::span<const std::string_view> keys, std::vector<Text>& found) const {
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (const auto entry = changes_.find(keys[i]); entry != changes_.end())
        found[i] = entry->second;
    }
  }

  void forget() {
    for (auto& [key, value] : changes_)
      wipe(value);
    changes_.clear();
  }

private:
  Changes changes_;
};

} // namespace quarnet::platform
