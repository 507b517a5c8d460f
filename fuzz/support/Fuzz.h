#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace quarnet::fuzz {

/// The bytes that a target is given, to be taken from the front.
class Input {
public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}

  bool isEmpty() const { return bytes_.empty(); }
  bool has(std::string_view text) const { return bytes_.find(text) != bytes_.npos; }

  /// Up to the next unit separator (0x1F), which is skipped, or to the end.
  std::string piece() { return take(bytes_.find('\x1f'), 1); }
  std::string rest() { return take(bytes_.size(), 0); }
  /// Whether the next byte is odd, as "1" is and "0" is not; false at the end.
  bool flag() { return (take(1, 0) + '0').front() & 1; }

private:
  std::string take(std::size_t size, std::size_t skipped) {
    const std::string_view taken = bytes_.substr(0, size);
    bytes_.remove_prefix(std::min(bytes_.size(), taken.size() + skipped));
    return std::string(taken);
  }

  std::string_view bytes_;
};

/// A fault, which ends the process, unless `holds`.
inline void expect(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: a fault\n", file, line);
  std::abort();
}

} // namespace quarnet::fuzz
