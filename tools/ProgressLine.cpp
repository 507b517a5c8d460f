#include "tools/ProgressLine.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace quarnet::tools {
namespace {

/// The bytes in units that leave few digits: "12.3 MiB".
std::string sizeText(std::uint64_t bytes) {
  constexpr const char* kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  auto value = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (value >= 1023.95) { // which would be rounded to 1024.0
    value /= 1024;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof(text), "%.*f %s", unit == 0 ? 0 : 1, value, kUnits[unit]);
  return text;
}

/// " [####    ]  50 %" for as many characters; without the bar where they are few.
std::string barText(std::uint64_t done, std::uint64_t all, std::size_t width) {
  constexpr std::size_t kShortest = 8;
  const double share = static_cast<double>(std::min(done, all)) / static_cast<double>(all);
  char percent[16];
  std::snprintf(percent, sizeof(percent), " %3d %%", static_cast<int>(share * 100));
  const std::size_t others = sizeof(" []") - 1 + std::string_view(percent).size();
  if (width < others + kShortest) return percent;
  const std::size_t length = width - others;
  const auto filled = static_cast<std::size_t>(share * static_cast<double>(length));
  return " [" + std::string(filled, '#') + std::string(length - filled, ' ') + "]" + percent;
}

} // namespace

bool ProgressLine::isDue() const {
  return Clock::now() >= next_ && isatty(STDERR_FILENO) != 0;
}

void ProgressLine::show(std::string text) {
  text.resize(width(), ' ');
  // The cursor goes back to the start, where whatever comes next covers the line.
  std::fprintf(stderr, "\r%s\r", text.c_str());
  isShown_ = true;
  next_ = Clock::now() + std::chrono::milliseconds(100);
}

void ProgressLine::clear() {
  if (isShown_) show("");
  isShown_ = false;
}

std::size_t ProgressLine::width() {
  winsize size{};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  // A full line would begin the next one on some terminals.
  return (isKnown ? size.ws_col : 80U) - 1;
}

std::string transferText(const Progress& progress, std::size_t width) {
  const auto& [sent, toSend, received, toReceive] = progress;
  if (received == 0 && sent > 0 && sent >= toSend) {
    return "sent " + sizeText(sent) + ", waiting for the answer";
  }
  const bool isAnswered = received > 0;
  const std::uint64_t done = isAnswered ? received : sent;
  const std::uint64_t all = isAnswered ? toReceive : toSend;
  if (done == 0) return {};
  std::string text = (isAnswered ? "received " : "sent ") + sizeText(done);
  if (all == 0) return text;
  text += " of " + sizeText(all);
  return text + barText(done, all, width - std::min(width, text.size()));
}

} // namespace quarnet::tools
