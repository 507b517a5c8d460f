#include "bench/support/Rounds.h"

#include <algorithm>
#include <chrono>
#include <sys/resource.h>

namespace quarnet::bench {
namespace {

double toSeconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double medianOf(const std::vector<Cost>& costs, double Cost::*part) {
  std::vector<double> values;
  for (const Cost& cost : costs)
    values.push_back(cost.*part);
  return median(std::move(values));
}

double ratioOf(const std::vector<Cost>& ours, const std::vector<Cost>& yardstick,
               double Cost::*part) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < ours.size(); ++round)
    ratios.push_back(ours[round].*part / (yardstick[round].*part));
  return median(std::move(ratios));
}

} // namespace

double processCpu() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return toSeconds(usage.ru_utime) + toSeconds(usage.ru_stime);
}

Cost costOf(const std::function<void()>& work) {
  const double cpu = processCpu();
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  return {.wall = wall.count(), .cpu = processCpu() - cpu};
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Comparison compareCosts(int rounds, const std::function<Cost()>& ours,
                        const std::function<Cost()>& yardstick) {
  ours();
  yardstick();
  std::vector<Cost> oursCosts, yardstickCosts;
  for (int round = 0; round < rounds; ++round) {
    const bool oursFirst = round % 2 == 0;
    if (oursFirst) oursCosts.push_back(ours());
    yardstickCosts.push_back(yardstick());
    if (!oursFirst) oursCosts.push_back(ours());
  }
  return {
      .ours = {medianOf(oursCosts, &Cost::wall), medianOf(oursCosts, &Cost::cpu)},
      .yardstick = {medianOf(yardstickCosts, &Cost::wall), medianOf(yardstickCosts, &Cost::cpu)},
      .wallRatio = ratioOf(oursCosts, yardstickCosts, &Cost::wall),
      .cpuRatio = ratioOf(oursCosts, yardstickCosts, &Cost::cpu)};
}

Comparison compare(int rounds, const std::function<void()>& ours,
                   const std::function<void()>& yardstick) {
  return compareCosts(
      rounds, [&] { return costOf(ours); }, [&] { return costOf(yardstick); });
}

} // namespace quarnet::bench
