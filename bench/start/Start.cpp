#include "bench/start/Start.h"

#include "bench/support/Child.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <filesystem>

namespace quarnet::bench {

void measureStart(const std::string& folder) {
  constexpr int kRounds = 31;
  const auto run = [&folder](const char* program) {
    return Cost{.wall = runChild(folder + "/" + program, {}).firstByte, .cpu = 0};
  };
  const Comparison result = compareCosts(
      kRounds, [&] { return run("bench-start-ours"); }, [&] { return run("bench-start-raw"); });
  report("time from process start to the first call's first byte", "time",
         seconds(result.ours.wall), seconds(result.yardstick.wall), result.wallRatio, atMost(1.1));
}

void measureSize(const std::string& path) {
  const auto size = static_cast<double>(std::filesystem::file_size(path));
  report("size of the stripped library", "size", withUnit(size / 1000, "KB"), "none", size / 1000,
         atMost(600, "KB"));
}

} // namespace quarnet::bench
