#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarnet::sandbox {

/// The name-value pairs of a query or of a form body, decoded as forms are: "+" is a blank.
class Form {
public:
  explicit Form(std::string_view encoded);

  /// The first value of that name; absent when there is none.
  std::optional<std::string> get(std::string_view name) const;
  /// The same, empty when there is none.
  std::string text(std::string_view name) const { return get(name).value_or(""); }
  /// A name that occurs more than once, if there is one.
  std::optional<std::string> repeatedName() const;

  const std::vector<std::pair<std::string, std::string>>& pairs() const { return pairs_; }

private:
  std::vector<std::pair<std::string, std::string>> pairs_;
};

} // namespace quarnet::sandbox
