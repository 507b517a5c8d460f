#include "quarnet/platform/Log.h"

#include <cstdio>

namespace quarnet::platform {

void StandardErrorLog::write(Line line) {
  // The stream's own lock keeps lines of several threads apart.
  flockfile(stderr);
  for (const std::string_view piece : line)
    fwrite_unlocked(piece.data(), 1, piece.size(), stderr);
  putc_unlocked('\n', stderr);
  funlockfile(stderr);
}

} // namespace quarnet::platform
