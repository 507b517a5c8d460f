// A POST with a payload, one after the other.

#include "bench/calls/Calls.h"
#include "bench/support/Failure.h"
#include "bench/support/Processor.h"
#include "bench/support/RawCurl.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/Setting.h"

#include "quarnet/quarnet.h"

namespace quarnet::bench {
namespace {

constexpr int kCalls = 100;
constexpr int kRounds = 151;

} // namespace

void measureSynchronousPost() {
  const OnFirstProcessor pinned;
  const std::string url = "https://" + Setting::current().sandbox + "/v1/people";
  const std::string payload = R"({"name":"김하늘","place":"연희동","floor":3,"seats":[1,2,3]})";
  APIRequest request;
  RawCurl raw;
  const Comparison result = compare(
      kRounds,
      [&] {
        for (int i = 0; i < kCalls; ++i) {
          RequestBundle bundle;
          bundle.setUrl(url);
          bundle.setPayload(payload);
          std::optional<Error> error;
          const auto answer = request.requestHTTPMethodError(bundle, HttpMethod::POST, &error);
          check(answer && !error, "our POST is answered 200");
        }
      },
      [&] {
        for (int i = 0; i < kCalls; ++i) {
          raw.setPost(url + ".json", payload, raw.callFields());
          raw.perform();
        }
      });
  report("synchronous POST", "CPU per call", seconds(result.ours.cpu / kCalls),
         seconds(result.yardstick.cpu / kCalls), result.cpuRatio, atMost(1.1));
  report("synchronous POST", "calls per second", perSecond(kCalls / result.ours.wall),
         perSecond(kCalls / result.yardstick.wall), 1 / result.wallRatio, atLeast(0.94));
}

} // namespace quarnet::bench
