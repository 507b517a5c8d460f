#include "quarnet/platform/Log.h"

#include <cstdio>

namespace quarnet::platform {

std::string Log::text(Line line) {
  std::string whole;
  for (const Piece& piece : line)
    whole += piece.text;
  return whole;
}

void StandardErrorLog::write(Line line) {
  // The stream's own lock keeps lines of several threads apart.
  flockfile(stderr);
  for (const Piece& piece : line)
    fwrite_unlocked(piece.text.data(), 1, piece.text.size(), stderr);
  putc_unlocked('\n', stderr);
  funlockfile(stderr);
}

} // namespace quarnet::platform
