#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quarnet::platform {

/// The texts of a store by key.
struct Record {
  std::map<std::string, std::string, std::less<>> texts;

  /// Of all keys and texts.
  std::size_t size() const;
};

/// Overwrites the texts in memory and leaves none.
void wipe(Record& record) noexcept;

/// A record as one plain text, since keyrings show and some only keep text: a line "key=value" for
/// each, both escaped with %XX. Empty for an empty record.
std::string recordText(const Record& record);

/// The record that the text stands for; absent when recordText() cannot have made it.
std::optional<Record> parseRecord(std::string_view text);

} // namespace quarnet::platform
