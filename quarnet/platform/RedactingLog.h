#pragma once

#include "quarnet/platform/Log.h"

#include <memory>

namespace quarnet::platform {

/// Passes every line on to another sink, as one piece, with "***" in place of secrets. Safe from
/// any thread if the sink is.
///
/// Blanked are the values of tokens, client secrets, authorization codes, passwords, parameter keys
/// and their IVs under their names, in any case and percent-escaped or not, wherever a line carries
/// them: addresses and forms, JSON whole or cut off, header fields, the printed token record. Where
/// it is not clear how far a value reaches, too much is blanked. The user's own data is blanked
/// whole: the parameters and payloads of API calls and the answers to them. "(null)" and empty
/// values stay, as does what has no such name.
class QUARNET_EXPORT RedactingLog final : public Log {
public:
  explicit RedactingLog(std::shared_ptr<Log> sink) : sink_(std::move(sink)) {}

  void write(Line line) override;
  bool isOn() const override { return sink_->isOn(); }

private:
  std::shared_ptr<Log> sink_;
};

} // namespace quarnet::platform
