// A GET with encrypted parameters, one after the other: the key request and the call itself.

#include "bench/calls/Calls.h"
#include "bench/calls/RawGet.h"
#include "bench/support/Failure.h"
#include "bench/support/Processor.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/Setting.h"

#include "quarnet/quarnet.h"

namespace quarnet::bench {
namespace {

constexpr int kCalls = 100;
constexpr int kRounds = 101;

void callOurs(APIRequest& request, const std::string& url) {
  Parameters parameters;
  for (const auto& [name, value] : kGetParameters)
    parameters.emplace(name, value);
  RequestBundle bundle;
  bundle.setUrl(url);
  bundle.setParameters(std::move(parameters));
  std::optional<Error> error;
  const auto answer = request.requestHTTPMethodError(bundle, HttpMethod::GET, &error);
  check(answer && !error, "our GET is answered 200");
}

} // namespace

void measureSynchronousGet() {
  const OnFirstProcessor pinned;
  const std::string url = "https://" + Setting::current().sandbox + "/v1/places";
  APIRequest request;
  RawGet raw(Setting::current().sandbox);
  const Comparison result = compare(
      kRounds,
      [&] {
        for (int i = 0; i < kCalls; ++i)
          callOurs(request, url);
      },
      [&] {
        for (int i = 0; i < kCalls; ++i)
          raw.call();
      });
  constexpr std::string_view kWhat = "synchronous GET: key request and encrypted call";
  report(kWhat, "CPU per call", seconds(result.ours.cpu / kCalls),
         seconds(result.yardstick.cpu / kCalls), result.cpuRatio, atMost(1.05));
  report(kWhat, "calls per second", perSecond(kCalls / result.ours.wall),
         perSecond(kCalls / result.yardstick.wall), 1 / result.wallRatio, atLeast(0.97));
}

} // namespace quarnet::bench
