#include "bench/small/Pairs.h"

#include "bench/support/Failure.h"
#include "bench/support/Rounds.h"

#include <map>
#include <vector>

namespace quarnet::bench {
namespace {

constexpr int kRepetitions = 33;

std::vector<Pair>& pairs() {
  static std::vector<Pair>* const instance = new std::vector<Pair>;
  return *instance;
}

/// Keeps the seconds per iteration of every repetition, by the benchmark's name.
class Collector final : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      check(!run.error_occurred, run.run_name.function_name + " runs");
      const auto iterations = static_cast<double>(run.iterations);
      const bool byTheClock = run.run_name.time_type == "real_time";
      times[run.run_name.function_name].push_back(
          (byTheClock ? run.real_accumulated_time : run.cpu_accumulated_time) / iterations);
    }
  }

  std::map<std::string, std::vector<double>> times;
};

void registerSide(const std::string& name, const Pair& pair,
                  const std::function<void(benchmark::State&)>& side) {
  auto* registered = benchmark::RegisterBenchmark(name.c_str(), side);
  registered->Repetitions(kRepetitions)->MinTime(0.01);
  if (pair.byTheClock) registered->UseRealTime();
}

double figureOf(const Pair& pair, double ours, double yardstick) {
  return pair.bound.kind == Bound::Kind::atMost ? ours / yardstick : yardstick / ours;
}

} // namespace

void add(Pair pair) {
  pairs().push_back(std::move(pair));
}

void runPairs() {
  for (std::size_t i = 0; i < pairs().size(); ++i) {
    registerSide("ours " + std::to_string(i), pairs()[i], pairs()[i].ours);
    registerSide("yardstick " + std::to_string(i), pairs()[i], pairs()[i].yardstick);
  }
  std::string program = "bench-small";
  std::string interleaving = "--benchmark_enable_random_interleaving=true";
  char* arguments[] = {program.data(), interleaving.data(), nullptr};
  int count = 2;
  benchmark::Initialize(&count, arguments);
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);

  for (std::size_t i = 0; i < pairs().size(); ++i) {
    const Pair& pair = pairs()[i];
    const double ours = median(collector.times.at("ours " + std::to_string(i)));
    const double yardstick = median(collector.times.at("yardstick " + std::to_string(i)));
    report(pair.what, pair.measure, seconds(ours), seconds(yardstick),
           figureOf(pair, ours, yardstick), pair.bound);
  }
}

} // namespace quarnet::bench
