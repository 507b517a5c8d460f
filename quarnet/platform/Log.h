#pragma once

#include "quarnet/core/Export.h"

#include <span>
#include <string_view>

namespace quarnet::platform {

/// Where the library's diagnostic lines go. Safe from any thread.
///
/// The lines carry tokens and secrets as they stand; RedactingLog blanks them.
class QUARNET_EXPORT Log {
public:
  /// A line in pieces, to be written one after the other. A piece may be very long and may hold
  /// line breaks; it lives only as long as the call.
  using Line = std::span<const std::string_view>;

  virtual ~Log() = default;

  virtual void write(Line line) = 0;

  /// False when every line is dropped: what takes time to put together is then not written at all.
  virtual bool isOn() const { return true; }
};

/// One line a call on the standard error stream.
class QUARNET_EXPORT StandardErrorLog final : public Log {
public:
  void write(Line line) override;
};

/// Drops every line.
class QUARNET_EXPORT NullLog final : public Log {
public:
  void write(Line) override {}
  bool isOn() const override { return false; }
};

} // namespace quarnet::platform
