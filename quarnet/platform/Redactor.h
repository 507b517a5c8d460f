#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarnet::platform {

/// Finds the secrets of one line, in time linear in its length.
class Redactor {
public:
  /// `text` outlives the object.
  explicit Redactor(std::string_view text) : text_(text) {}

  /// The line with its secrets blanked.
  std::string redacted() const;

private:
  /// One character, however it is written: as it is, as %XX (also escaped several times over) or as
  /// \uXXXX. The zero byte stands for the end of the line and for what is not ASCII.
  struct Unit {
    char character;
    std::size_t length;
  };
  struct Value {
    std::size_t begin;
    std::size_t end;
  };
  struct Quote {
    Unit unit;
    /// How many backslashes stand before it: 1 in JSON inside a JSON text, 3 one level deeper.
    std::size_t backslashes;
    /// Where what it encloses begins.
    std::size_t end;
  };

  Unit unitAt(std::size_t at) const;
  std::string nameAt(std::size_t& at, std::string_view more, std::size_t limit) const;
  std::size_t afterBlanks(std::size_t at, std::string_view blanks) const;
  std::optional<Quote> quoteAt(std::size_t at) const;

  std::optional<Value> valueAfter(std::string_view name, bool escaped, std::size_t at) const;
  std::size_t endOfQuoted(const Quote& open) const;
  std::size_t endOfContainer(std::size_t at) const;
  std::size_t endOfScalar(std::size_t at) const;
  std::size_t endOfPair(std::size_t at, std::size_t escapeLength) const;
  std::size_t endOfField(std::size_t at) const;
  bool knownNameAt(std::size_t at) const;

  std::string_view text_;
};

} // namespace quarnet::platform
