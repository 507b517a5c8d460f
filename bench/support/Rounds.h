#pragma once

#include <functional>
#include <vector>

namespace quarnet::bench {

/// What a piece of work took of this process, in seconds.
struct Cost {
  double wall = 0;
  double cpu = 0;
};

/// User and system time of this process so far, all threads together.
double processCpu();

Cost costOf(const std::function<void()>& work);

double median(std::vector<double> values);

/// Two pieces of work against each other. The ratios are medians of the ratios of single rounds, so
/// that what else the machine does meanwhile weighs on both sides alike.
struct Comparison {
  Cost ours;
  Cost yardstick;
  double wallRatio = 0;
  double cpuRatio = 0;
};

/// Runs both once to warm up and then in turns, the order changing from round to round.
Comparison compare(int rounds, const std::function<void()>& ours,
                   const std::function<void()>& yardstick);

/// The same where each piece of work tells its cost itself.
Comparison compareCosts(int rounds, const std::function<Cost()>& ours,
                        const std::function<Cost()>& yardstick);

} // namespace quarnet::bench
