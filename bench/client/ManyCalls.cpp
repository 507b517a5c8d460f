// Thousands of POSTs, all handed over at once.

#include "bench/calls/Crowd.h"
#include "bench/client/Client.h"
#include "bench/support/Child.h"
#include "bench/support/Failure.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/Setting.h"

#include <utility>

namespace quarnet::bench {
namespace {

constexpr int kCalls = 10'000;
constexpr int kRounds = 25;
/// A handle for each stream that may be open at a time; more would only wait inside libcurl.
constexpr int kHandles = 64;

void post(const std::string& host, int count) {
  Client client;
  int unanswered = count;
  for (int i = 0; i < count; ++i) {
    client
        .send({.method = HttpMethod::POST,
               .url = "https://" + host + "/v1/people",
               .payload = kCrowdPayload})
        .then([&](const Result<Answer>& answer) {
          check(answer.has_value(),
                answer ? "" : "our call succeeds: " + answer.error().description());
          --unanswered;
        })
        .detach();
  }
  const bool done =
      platform::GlibMainThread::runUntil([&] { return unanswered == 0; }, std::chrono::minutes(2));
  check(done, "all calls are answered");
}

/// Holds requests back until as many as there are calls are there, so that all of them have left
/// the client before the first answer. Counts.
class Gate final : public platform::HttpClient {
public:
  explicit Gate(std::shared_ptr<platform::HttpClient> transport)
      : transport_(std::move(transport)) {}

  void holdUntil(std::size_t count) {
    const std::lock_guard lock(mutex_);
    sent_ = 0;
    awaited_ = count;
  }
  std::size_t sent() const {
    const std::lock_guard lock(mutex_);
    return sent_;
  }

  platform::HttpResult sendSynchronously(const platform::HttpRequest& request) override {
    return transport_->sendSynchronously(request);
  }
  void sendAsynchronously(std::shared_ptr<const platform::HttpRequest> request,
                          Completion completion) override {
    const std::lock_guard lock(mutex_);
    ++sent_;
    held_.emplace_back(std::move(request), std::move(completion));
    if (sent_ < awaited_) return;
    for (auto& [one, whenDone] : std::exchange(held_, {}))
      transport_->sendAsynchronously(std::move(one), std::move(whenDone));
  }

private:
  const std::shared_ptr<platform::HttpClient> transport_;
  mutable std::mutex mutex_;
  std::size_t sent_ = 0;
  std::size_t awaited_ = 0;
  std::vector<std::pair<std::shared_ptr<const platform::HttpRequest>, Completion>> held_;
};

} // namespace

void measureManyCalls() {
  RawCrowd raw(kHandles);
  const std::string& host = Setting::current().nginx;
  const Comparison result = compare(
      kRounds, [&] { post(host, kCalls); }, [&] { raw.run(kCalls); });
  constexpr std::string_view kWhat = "10,000 calls at once, HTTP/2 over TLS";
  report(kWhat, "calls per second", perSecond(kCalls / result.ours.wall),
         perSecond(kCalls / result.yardstick.wall), 1 / result.wallRatio, atLeast(0.95));
  report(kWhat, "CPU per call", seconds(result.ours.cpu / kCalls),
         seconds(result.yardstick.cpu / kCalls), result.cpuRatio, atMost(1.15));
}

void measureUnauthorized() {
  constexpr int kRefused = 1'000;
  setUpLibrary();
  platform::Platform services = platform::Platform::current();
  const auto gate = std::make_shared<Gate>(services.httpClient);
  services.httpClient = gate;
  platform::Platform::install(services);
  const std::string& host = Setting::current().sandbox;
  const auto run = [&] {
    gate->holdUntil(kRefused);
    post(host, kRefused);
  };
  std::vector<double> reissues;
  const Comparison result = compare(
      kRounds,
      [&] {
        OAuthInfo::sharedInstance().setAccessToken("stale");
        run();
        // Every call was sent twice, so each was answered with 401.
        reissues.push_back(static_cast<double>(gate->sent()) - 2 * kRefused);
      },
      run);
  setUpLibrary();
  constexpr std::string_view kWhat = "1,000 calls that all meet 401 at once";
  report(kWhat, "reissues", withUnit(median(reissues), ""), "none", median(reissues),
         atMost(1, ""));
  report(kWhat, "time, against 1,000 plain ones", seconds(result.ours.wall),
         seconds(result.yardstick.wall), result.wallRatio, atMost(2.2));
}

void measureClientMemory() {
  constexpr int kMeasured = 5;
  std::vector<double> ours, raw;
  const auto perCall = [](const std::string& role) {
    const double one = runSelf({role, "1"}).peakMemory;
    return (runSelf({role, std::to_string(kCalls)}).peakMemory - one) / (kCalls - 1);
  };
  for (int round = 0; round < kMeasured; ++round) {
    ours.push_back(perCall("client-in-flight"));
    raw.push_back(perCall("in-flight-raw"));
  }
  report("10,000 calls at once, HTTP/2 over TLS", "memory per call in flight",
         withUnit(median(ours), "bytes"), withUnit(median(raw), "bytes"), median(ours),
         atMost(2048, "bytes"));
}

void holdClientCalls(int count) {
  setUpLibrary();
  post(Setting::current().nginx, count);
}

} // namespace quarnet::bench
