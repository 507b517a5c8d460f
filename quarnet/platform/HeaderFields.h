#pragma once

#include "quarnet/core/Export.h"

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace quarnet::platform {

/// The header fields of a request (RFC 9110, section 5), each name once, in the order in which they
/// were set. Names are the same in any case; neither names nor values are checked here.
class QUARNET_EXPORT HeaderFields {
public:
  /// One field. Both texts live until the fields change.
  struct Field {
    /// In the case in which it is sent.
    std::string_view name;
    /// As it is sent.
    std::string_view value;
  };

  /// Goes through the fields; of no use once they change.
  class QUARNET_EXPORT Iterator {
  public:
    /// What the standard library asks of an iterator.
    /// @{
    using iterator_category = std::input_iterator_tag;
    using value_type = Field;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = Field;
    /// @}

    /// The field; not of the one behind the last.
    Field operator*() const;
    /// Goes to the next field.
    Iterator& operator++();
    /// Whether both are at the same field.
    bool operator==(const Iterator&) const = default;

  private:
    friend class HeaderFields;
    explicit Iterator(const char* field) : field_(field) {}

    const char* field_;
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

  /// The first field.
  Iterator begin() const { return Iterator(fields_.data()); }
  /// Behind the last field.
  Iterator end() const { return Iterator(fields_.data() + fields_.size()); }

private:
  Iterator find(std::string_view name) const;

  /// For each field the sizes of its texts, and the texts. In one piece: thousands of calls may
  /// wait with theirs, and what one thread allocates another one frees.
  std::string fields_;
};

} // namespace quarnet::platform
