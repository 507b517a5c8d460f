#pragma once

#include <string>
#include <string_view>

namespace quarnet::bench {

/// What a figure is to reach.
struct Bound {
  enum class Kind { atMost, atLeast };
  Kind kind;
  double value;
  /// What stands behind the figure and the bound: "x" for a ratio.
  std::string_view unit = "x";

  bool isKeptBy(double figure) const {
    return kind == Kind::atMost ? figure <= value : figure >= value;
  }
};

constexpr Bound atMost(double value, std::string_view unit = "x") {
  return {Bound::Kind::atMost, value, unit};
}
constexpr Bound atLeast(double value, std::string_view unit = "x") {
  return {Bound::Kind::atLeast, value, unit};
}

/// Three significant digits and a unit: "12.3 us".
std::string withUnit(double value, std::string_view unit);
/// Seconds in the unit that suits them: "1.25 ms".
std::string seconds(double value);
std::string perSecond(double value);
std::string mebibytes(double bytes);

/// Prints one row of the table on the standard output: what was measured, of ours and of the
/// yardstick, and whether `figure` reaches its bound.
void report(std::string_view what, std::string_view measure, std::string_view ours,
            std::string_view yardstick, double figure, const Bound& bound);

} // namespace quarnet::bench
