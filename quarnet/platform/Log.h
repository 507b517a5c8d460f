#pragma once

#include "quarnet/core/Export.h"

#include <span>
#include <string>
#include <string_view>

namespace quarnet::platform {

/// Where the library's diagnostic lines go.
///
/// An application's own sink is called on any thread, also on several at once. It may call the
/// library, which then writes lines to it in turn, but must hold no lock meanwhile. If it throws,
/// the line is lost, and one message for the whole process goes to standard error.
class QUARNET_EXPORT Log {
public:
  /// A part of a line. What is not known to be harmless is taken for a secret: tokens, the client
  /// secret, the user's own data, whatever comes from a server or a page.
  struct Piece {
    /// Any text; lives as long as the line.
    std::string_view text;
    /// Whether anybody may read it.
    bool isHarmless = false;
  };

  /// A line in pieces, to be written one after the other with nothing between them. A piece may be
  /// very long and may hold line breaks; it lives only as long as the call. Secrets are in plain
  /// text: a sink that others may read is wrapped in a RedactingLog, or checks `isHarmless` itself.
  using Line = std::span<const Piece>;

  virtual ~Log() = default;

  /// Writes one line, without a line break at its end.
  virtual void write(Line line) = 0;

  /// False when every line is dropped: what takes time to put together is then not written at all.
  virtual bool isOn() const { return true; }

  /// The whole line as one text.
  static std::string text(Line line);
};

/// Marks a piece of a line as one that anybody may read.
constexpr Log::Piece harmless(std::string_view text) {
  return {.text = text, .isHarmless = true};
}

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
