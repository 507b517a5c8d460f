#pragma once

#include "quarnet/platform/Log.h"

#include <memory>

namespace quarnet::platform {

/// Passes every line on to another sink with the values of secrets blanked: tokens, client secrets,
/// authorization codes, parameter keys, wherever a line carries them (addresses, header fields,
/// JSON, the printed token record).
class QUARNET_EXPORT RedactingLog final : public Log {
public:
  explicit RedactingLog(std::shared_ptr<Log> sink) : sink_(std::move(sink)) {}

  void write(Line line) override;

private:
  std::shared_ptr<Log> sink_;
};

} // namespace quarnet::platform
