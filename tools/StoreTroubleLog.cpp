#include "tools/StoreTroubleLog.h"

namespace quarnet::tools {

void StoreTroubleLog::write(Line line) {
  if (!line.empty() && line.front().text.starts_with("user defaults")) {
    const std::lock_guard lock(mutex_);
    trouble_ = text(line);
  }
  sink_->write(line);
}

std::string StoreTroubleLog::trouble() const {
  const std::lock_guard lock(mutex_);
  return trouble_;
}

} // namespace quarnet::tools
