#pragma once

#include "quarnet/core/Data.h"

#include <string_view>
#include <utility>
#include <vector>

namespace quarnet {

/// One value of a parsed JSON object (RFC 8259).
class Json {
public:
  enum class Kind { string, scalar, array, object };

  /// Parses a document whose top level is an object. Absent when it is anything else, is not valid
  /// JSON as a whole, is nested more than 500 levels deep or is longer than 1 MiB: a tree takes up
  /// to a hundred times the document's size, and no key or token answer is that long.
  static std::optional<Json> parse(std::string_view bytes);

  Kind kind() const { return kind_; }

  /// The member of that name, the last one when it stands twice; null when there is none.
  const Json* member(std::string_view name) const;

  /// The value as text: a string as it is, a number in decimal, true and false as "1" and "0", null
  /// as "<null>", a container as compact JSON.
  std::string text() const;

private:
  friend struct JsonReader;

  void appendCompact(std::string& out) const;

  Kind kind_ = Kind::scalar;
  /// The text() of a string or a scalar.
  std::string text_;
  /// What a scalar looked like in the document.
  std::string token_;
  /// The values of a container; the names are empty in an array.
  std::vector<std::pair<std::string, Json>> members_;
};

/// The text of a member of an object that may be absent, as it is copied into a token field: absent
/// when the object or the member is.
Text memberText(const Json* object, std::string_view name);

} // namespace quarnet
