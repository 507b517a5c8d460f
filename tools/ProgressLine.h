#pragma once

#include "quarnet/client/Call.h"

#include <chrono>
#include <string>

namespace quarnet::tools {

/// A line at the end of standard error that says how far something long has come. There is none
/// where standard error is no terminal, nor in the first second. It is gone when this object is.
class ProgressLine {
public:
  ProgressLine() = default;
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Whether it is time for show(): ten times a second.
  bool isDue() const;

  /// Puts `text`, which is ASCII, in the place of what was shown; cut off at the terminal's width.
  void show(std::string text);

  /// Takes the line away; to be called before something else is written to the terminal.
  void clear();

  /// How many characters have room in the terminal's line.
  static std::size_t width();

private:
  using Clock = std::chrono::steady_clock;

  Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
  bool isShown_ = false;
};

/// How far an upload or a download has come, with a bar: " 1.5 MiB of 3.0 MiB [###   ]  50 %".
/// Empty while nothing moves. `width` is the most characters to fill.
std::string transferText(const Progress& progress, std::size_t width);

} // namespace quarnet::tools
