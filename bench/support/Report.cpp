#include "bench/support/Report.h"

#include <array>
#include <cstdio>

namespace quarnet::bench {
namespace {

std::string number(double value) {
  const int decimals = value >= 100 ? 0 : value >= 10 ? 1 : 2;
  std::array<char, 64> text;
  const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  return {text.data(), static_cast<std::size_t>(length)};
}

/// "1.05x" and "16.6 MiB": a ratio's sign stands close, other units apart.
std::string figureText(const std::string& value, std::string_view unit) {
  return value + (unit == "x" || unit.empty() ? "" : " ") + std::string(unit);
}

std::string boundText(const Bound& bound) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%g", bound.value);
  return (bound.kind == Bound::Kind::atMost ? "<= " : ">= ") + figureText(text.data(), bound.unit);
}

} // namespace

std::string withUnit(double value, std::string_view unit) {
  return number(value).append(" ").append(unit);
}

std::string seconds(double value) {
  if (value >= 1) return withUnit(value, "s");
  if (value >= 1e-3) return withUnit(value * 1e3, "ms");
  if (value >= 1e-6) return withUnit(value * 1e6, "us");
  return withUnit(value * 1e9, "ns");
}

std::string perSecond(double value) {
  return withUnit(value, "/s");
}

std::string mebibytes(double bytes) {
  return withUnit(bytes / (1024 * 1024), "MiB");
}

void report(std::string_view what, std::string_view measure, std::string_view ours,
            std::string_view yardstick, double figure, const Bound& bound) {
  const auto column = [](std::string_view text) {
    std::printf("| %.*s ", static_cast<int>(text.size()), text.data());
  };
  column(what);
  column(measure);
  column(ours);
  column(yardstick);
  column(figureText(number(figure), bound.unit));
  column(boundText(bound));
  column(bound.isKeptBy(figure) ? "reached" : "**short**");
  std::printf("|\n");
  std::fflush(stdout);
}

} // namespace quarnet::bench
