#include "bench/transfers/Transfers.h"

#include "bench/support/Child.h"
#include "bench/support/Rounds.h"

#include <cstdio>

namespace quarnet::bench {
namespace {

constexpr int kRounds = 11;

} // namespace

void compareTransfers(std::string_view what, const std::string& ours, const std::string& raw,
                      double size, const Bound& time) {
  std::vector<double> oursPeaks, rawPeaks;
  const auto runOnce = [](const std::string& role, std::vector<double>& peaks) {
    const ChildResult child = runSelf({role});
    peaks.push_back(child.peakMemory);
    return Cost{.wall = std::stod(child.output), .cpu = 0};
  };
  const Comparison result = compareCosts(
      kRounds, [&] { return runOnce(ours, oursPeaks); }, [&] { return runOnce(raw, rawPeaks); });

  constexpr double kMebibyte = 1024 * 1024;
  const double oursPeak = median(oursPeaks);
  report(what, "peak memory beyond its size", mebibytes(oursPeak - size),
         mebibytes(median(rawPeaks) - size), (oursPeak - size) / kMebibyte, atMost(32, "MiB"));
  report(what, "time", seconds(result.ours.wall), seconds(result.yardstick.wall), result.wallRatio,
         time);
}

void timeTransfer(const std::function<void()>& transfer) {
  std::printf("%.6f\n", costOf(transfer).wall);
}

} // namespace quarnet::bench
