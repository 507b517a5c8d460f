#pragma once

#include "quarnet/platform/Log.h"

#include <memory>

namespace quarnet::platform {

/// Passes every line on to another sink with "***" in place of each piece that is not marked as
/// harmless. "(null)" and empty pieces stay: they show that a value is missing.
///
/// Readable remain the fixed texts, numbers, statuses, the client identifier and the rest of the
/// configuration, names of header fields and parameters, endpoints, the scheme and host of pages
/// and calls, and reasons of failures. Replaced are tokens, secrets and codes, parameters,
/// payloads, and whatever a server or a page said.
class QUARNET_EXPORT RedactingLog final : public Log {
public:
  /// `sink` receives the redacted lines.
  explicit RedactingLog(std::shared_ptr<Log> sink) : sink_(std::move(sink)) {}

  void write(Line line) override;
  bool isOn() const override { return sink_->isOn(); }

private:
  std::shared_ptr<Log> sink_;
};

} // namespace quarnet::platform
