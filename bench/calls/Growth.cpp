// What a call costs with one in flight and with 10,000.

#include "bench/calls/Calls.h"
#include "bench/calls/Crowd.h"
#include "bench/support/Child.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/Setting.h"

#include <algorithm>
#include <array>

namespace quarnet::bench {
namespace {

constexpr std::array kInFlight = {1, 10, 100, 1'000, 10'000};
constexpr int kRounds = 5;
constexpr int kMost = kInFlight.back();
constexpr std::string_view kWhat = "growth from 1 to 10,000 in flight";

/// CPU per call for each number in flight, medians of the rounds.
std::array<double, kInFlight.size()> cpuPerCall() {
  std::array<std::vector<double>, kInFlight.size()> costs;
  Crowd crowd;
  crowd.run(100, 10);
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t level = 0; level < kInFlight.size(); ++level) {
      const int total = std::max(2'000, 2 * kInFlight[level]);
      const Cost cost = costOf([&] { crowd.run(total, kInFlight[level]); });
      costs[level].push_back(cost.cpu / total);
    }
  }
  std::array<double, kInFlight.size()> medians;
  std::transform(costs.begin(), costs.end(), medians.begin(),
                 [](const auto& values) { return median(values); });
  return medians;
}

/// The most that a level costs more than a smaller one.
double steepest(const std::array<double, kInFlight.size()>& costs) {
  double cheapest = costs.front();
  double growth = 0;
  for (std::size_t level = 1; level < costs.size(); ++level) {
    growth = std::max(growth, costs[level] / cheapest);
    cheapest = std::min(cheapest, costs[level]);
  }
  return growth;
}

/// Bytes for each call more in flight, from two processes of one and of many.
double memoryPerCall(const std::string& role) {
  std::vector<double> values;
  for (int round = 0; round < kRounds; ++round) {
    const double one = runSelf({role, "1"}).peakMemory;
    values.push_back((runSelf({role, std::to_string(kMost)}).peakMemory - one) / (kMost - 1));
  }
  return median(values);
}

} // namespace

void measureCpuGrowth() {
  const auto costs = cpuPerCall();
  std::string text;
  for (const double cost : costs)
    text += (text.empty() ? "" : ", ") + seconds(cost);
  report(kWhat, "CPU per call at 1, 10, 100, 1,000, 10,000; most above a smaller number", text,
         "itself", steepest(costs), atMost(1.2));
}

void measureMemoryGrowth() {
  const double ours = memoryPerCall("in-flight");
  const double raw = memoryPerCall("in-flight-raw");
  report(kWhat, "memory per call in flight", withUnit(ours, "bytes"), withUnit(raw, "bytes"),
         ours / raw, atMost(1.3));
}

void holdInFlight(int count) {
  setUpLibrary();
  Crowd().run(count, count);
}

void holdInFlightRaw(int count) {
  RawCrowd(count).run(count);
}

} // namespace quarnet::bench
