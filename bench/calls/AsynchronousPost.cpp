// 10,000 asynchronous POSTs, all handed over at once, against a server that answers at once.

#include "bench/calls/Calls.h"
#include "bench/calls/Crowd.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <filesystem>
#include <iterator>

namespace quarnet::bench {
namespace {

constexpr int kCalls = 10'000;
constexpr int kRounds = 25;
/// A handle for each stream that may be open at a time; more would only wait inside libcurl.
constexpr int kHandles = 64;

long threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

} // namespace

void measureAsynchronousPost() {
  const long threadsBefore = threads();
  Crowd crowd;
  crowd.run(kCalls, kCalls);
  const long threadsOfOurs = threads() - threadsBefore;

  RawCrowd raw(kHandles);
  const Comparison result = compare(
      kRounds, [&] { crowd.run(kCalls, kCalls); }, [&] { raw.run(kCalls); });
  constexpr std::string_view kWhat = "asynchronous POST, 10,000 calls, HTTP/2 over TLS";
  report(kWhat, "calls per second", perSecond(kCalls / result.ours.wall),
         perSecond(kCalls / result.yardstick.wall), 1 / result.wallRatio, atLeast(0.9));
  report(kWhat, "CPU per call", seconds(result.ours.cpu / kCalls),
         seconds(result.yardstick.cpu / kCalls), result.cpuRatio, atMost(1.15));
  report(kWhat, "threads", std::to_string(threadsOfOurs), "0", static_cast<double>(threadsOfOurs),
         atMost(4, ""));
}

} // namespace quarnet::bench
