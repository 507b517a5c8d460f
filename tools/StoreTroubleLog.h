#pragma once

#include "quarnet/platform/Log.h"

#include <memory>
#include <mutex>
#include <string>

namespace quarnet::tools {

/// Passes every line on and remembers what the store had to say about a failure.
class StoreTroubleLog final : public platform::Log {
public:
  explicit StoreTroubleLog(std::shared_ptr<Log> sink) : sink_(std::move(sink)) {}

  void write(Line line) override;

  /// The last line about a store that could not be read or written; empty while all is well.
  std::string trouble() const;

private:
  std::shared_ptr<Log> sink_;
  mutable std::mutex mutex_;
  std::string trouble_;
};

} // namespace quarnet::tools
