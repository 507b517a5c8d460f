#include "quarnet/platform/RedactingLog.h"

#include "quarnet/platform/Redactor.h"

namespace quarnet::platform {

void RedactingLog::write(Line line) {
  // Put together first: a name and its value may come in different pieces.
  std::string whole;
  for (const std::string_view piece : line)
    whole += piece;
  const std::string redacted = Redactor(whole).redacted();
  const std::string_view pieces[] = {redacted};
  sink_->write(pieces);
}

} // namespace quarnet::platform
