#include "quarnet/platform/RedactingLog.h"

#include <vector>

namespace quarnet::platform {
namespace {

/// A value that is missing is no secret, and is what a developer looks for.
bool isMissing(std::string_view text) {
  return text.empty() || text == "(null)";
}

} // namespace

void RedactingLog::write(Line line) {
  std::vector<Piece> redacted(line.begin(), line.end());
  for (Piece& piece : redacted)
    if (!piece.isHarmless && !isMissing(piece.text)) piece = harmless("***");
  sink_->write(redacted);
}

} // namespace quarnet::platform
