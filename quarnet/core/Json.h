#pragma once

#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet {

/// A value of a JSON text (RFC 8259) of any size and depth.
///
/// No tree is made: a value is a view into the text, which must outlive it, and is decoded by
/// text().
class Json {
public:
  /// The object that the text is; a byte order mark in front of it is skipped. Absent when the text
  /// is not valid JSON to its last byte, and when it is another value than an object.
  static std::optional<Json> parse(std::string_view text);

  /// Whether the value is a string.
  bool isString() const { return value_.front() == '"'; }

  /// The member of that name, the last one when there are several; absent when there is none and
  /// when this is no object.
  std::optional<Json> member(std::string_view name) const;

  /// The value as text: a string as it is, with U+FFFD for half of a surrogate pair; a number in
  /// decimal, as it is written when a double cannot hold it; true and false as "1" and "0", null as
  /// "<null>"; a container as compact JSON.
  std::string text() const;

private:
  explicit Json(std::string_view value) : value_(value) {}

  std::string_view value_;
};

/// The text of a member of an object that may be absent, as it is copied into a token field: absent
/// when the object or the member is.
Text memberText(const std::optional<Json>& object, std::string_view name);

} // namespace quarnet
