#pragma once

#include "quarnet/core/Export.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarnet::platform {

/// The header fields of a request (RFC 9110, section 5), each name once, in the order in which they
/// were set. Names are the same in any case; neither names nor values are checked here.
///
/// All of them lie in one text, a line each, the way they go on the wire.
class QUARNET_EXPORT HeaderFields {
public:
  /// Lives until the fields change.
  struct Field {
    std::string_view name;
    std::string_view value;
    /// "NAME: VALUE" with a zero byte behind it.
    std::string_view line;
  };

  HeaderFields() = default;
  HeaderFields(std::initializer_list<std::pair<std::string_view, std::string_view>> fields);

  /// Sets a field, as the last one, in place of one of that name; an absent value removes it.
  /// Neither text may lie in these fields themselves.
  void set(std::string_view name, std::optional<std::string_view> value);

  /// The value of the field of that name, or absent. Lives until the fields change.
  std::optional<std::string_view> get(std::string_view name) const;

  std::size_t size() const { return places_.size(); }
  Field operator[](std::size_t index) const {
    const auto& [start, nameSize, lineSize] = places_[index];
    const char* line = lines_.data() + start;
    const std::size_t valueStart = nameSize + kSeparator.size();
    return {.name = {line, nameSize},
            .value = {line + valueStart, lineSize - valueStart},
            .line = {line, lineSize}};
  }

  /// All lines one after the other, a zero byte behind each.
  std::string_view lines() const { return lines_; }

private:
  static constexpr std::string_view kSeparator = ": ";

  struct Place {
    std::size_t start;
    std::size_t nameSize;
    std::size_t lineSize;
  };

  /// size() when there is none.
  std::size_t find(std::string_view name) const;
  void remove(std::size_t index);

  std::string lines_;
  std::vector<Place> places_;
};

} // namespace quarnet::platform
