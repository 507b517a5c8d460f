#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace quarnet::bench {

/// Ends the program with a word on what did not hold: a run with a failed call has no figures.
inline void check(bool holds, std::string_view what) {
  if (holds) return;
  std::fprintf(stderr, "bench: it does not hold that %.*s\n", static_cast<int>(what.size()),
               what.data());
  std::exit(1);
}

} // namespace quarnet::bench
