#pragma once

#include "quarnet/core/Export.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// The header fields of a request (RFC 9110, section 5), each name once, in the order in which they
/// were set. Names are the same in any case; neither names nor values are checked here.
class QUARNET_EXPORT HeaderFields {
public:
  /// One field.
  struct Field {
    /// In the case in which it is sent.
    std::string name;
    /// As it is sent.
    std::string value;
  };

  /// None.
  HeaderFields() = default;
  /// Sets one after the other.
  HeaderFields(std::initializer_list<Field> fields);

  /// Sets a field, as the last one, in place of one of that name; an absent value removes it.
  /// Neither text may be part of a field of these. Throws std::bad_alloc, and nothing has changed
  /// then.
  void set(std::string_view name, std::optional<std::string_view> value);

  /// The value of the field of that name, or absent. Lives until the fields change.
  std::optional<std::string_view> get(std::string_view name) const;

  /// How many there are.
  std::size_t size() const { return fields_.size(); }
  /// The first field. Good until the fields change.
  std::vector<Field>::const_iterator begin() const { return fields_.begin(); }
  /// Behind the last field. Good until the fields change.
  std::vector<Field>::const_iterator end() const { return fields_.end(); }

private:
  std::vector<Field> fields_;
};

} // namespace quarnet::platform
