#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace quarnet::fuzz {

/// Takes from the front of `input` what stands before the next unit separator (0x1F), and that.
inline std::string piece(std::string& input) {
  const std::string taken = input.substr(0, input.find('\x1f'));
  input.erase(0, taken.size() + 1);
  return taken;
}

/// Takes the first byte and tells whether it is odd, as "1" is and "0" is not.
inline bool flag(std::string& input) {
  const bool isOdd = !input.empty() && (input.front() & 1) != 0;
  input.erase(0, 1);
  return isOdd;
}

/// A fault, which ends the process, unless `holds`.
inline void expect(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: a fault\n", file, line);
  std::abort();
}

} // namespace quarnet::fuzz
