#pragma once

#include "bench/support/Report.h"

#include <benchmark/benchmark.h>
#include <functional>
#include <string>

namespace quarnet::bench {

/// How the figure of a pair is made from the median times of both.
enum class Figure {
  /// Ours in times of the yardstick.
  time,
  /// How many times as fast as the yardstick ours is.
  speed,
  /// How many nanoseconds ours takes longer.
  nanosecondsMore
};

/// Two operations of which each is one iteration of a benchmark.
struct Pair {
  std::string what;
  std::string measure;
  Figure figure;
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
void addDelivery();
void addInstances();
void addTokenStore();

} // namespace quarnet::bench
