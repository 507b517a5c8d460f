#pragma once

#include "bench/support/Report.h"

#include <benchmark/benchmark.h>
#include <functional>
#include <string>

namespace quarnet::bench {

/// Two operations of which each is one iteration of a benchmark. The figure is made of the median
/// times of both.
struct Pair {
  std::string what;
  std::string measure;
  /// At most: our time in times of the yardstick's. At least: how many times as fast ours is.
  Bound bound;
  std::function<void(benchmark::State&)> ours;
  std::function<void(benchmark::State&)> yardstick;
  /// Time by the clock in place of processor time: for what waits for the disk.
  bool byTheClock = false;
};

void add(Pair pair);

/// Runs all pairs, their repetitions shuffled among each other, and prints a row for each.
void runPairs();

/// An iteration that calls `operation` and throws its result away.
template <class Operation>
std::function<void(benchmark::State&)> repeat(Operation operation) {
  return [operation](benchmark::State& state) mutable {
    for ([[maybe_unused]] const auto iteration : state)
      benchmark::DoNotOptimize(operation());
  };
}

// Each adds its pairs.
void addEscaping();
void addQueryStrings();
void addEncryption();
void addTokenStore();

} // namespace quarnet::bench
