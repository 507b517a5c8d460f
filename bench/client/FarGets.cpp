// GETs over a link with 50 ms round trip: the first one of a process, and twenty at once. A GET is
// two requests, the key's over HTTP and the call's over TLS 1.3.

#include "bench/calls/RawGet.h"
#include "bench/client/Client.h"
#include "bench/client/DelayingProxy.h"
#include "bench/support/Child.h"
#include "bench/support/Failure.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/Setting.h"

#include "quarnet/quarnet.h"

#include <cstdlib>
#include <iostream>

namespace quarnet::bench {
namespace {

constexpr std::chrono::milliseconds kOneWay{25};
constexpr double kRoundTrip = 0.05;
constexpr int kRounds = 11;
constexpr int kBatch = 20;

Call callTo(const std::string& host) {
  Call call{.url = "https://" + host + "/v1/places"};
  for (const auto& [name, value] : kGetParameters)
    call.parameters.emplace(name, value);
  return call;
}

std::string roundTrips(double time) {
  return seconds(time) + ", " + withUnit(time / kRoundTrip, "round trips");
}

/// An application that makes twenty calls at once from its main thread.
class Batch {
public:
  explicit Batch(const std::string& host) : call_(callTo(host)) {}

  void run() {
    int unanswered = kBatch;
    const Cost sending = costOf([&] {
      for (Handle& handle : handles_)
        handle = client_.send(call_).then([&](const Result<Answer>& answer) {
          check(answer.has_value(), "our call over the link is answered");
          --unanswered;
        });
    });
    held.push_back(sending.wall);
    const bool done = platform::GlibMainThread::runUntil([&] { return unanswered == 0; },
                                                         std::chrono::minutes(1));
    check(done, "all calls over the link are answered");
  }

  /// How long each run kept the caller from its own work.
  std::vector<double> held;

private:
  Client client_;
  const Call call_;
  std::array<Handle, kBatch> handles_;
};

/// The same with one curl_multi, a handle for each call.
class RawBatch {
public:
  explicit RawBatch(const std::string& host) : multi_(curl_multi_init()) {
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, 4L * kBatch); // all stay open
    for (auto& get : gets_) {
      get = std::make_unique<RawGet>(host);
      curl_easy_setopt(get->curl().get(), CURLOPT_PRIVATE, get.get());
    }
  }
  ~RawBatch() {
    for (auto& get : gets_)
      get.reset();
    curl_multi_cleanup(multi_);
  }
  RawBatch(const RawBatch&) = delete;
  RawBatch& operator=(const RawBatch&) = delete;

  void run() {
    unanswered_ = 2 * kBatch;
    for (const auto& get : gets_) {
      get->prepareKeyRequest();
      add(*get);
    }
    while (unanswered_ > 0) {
      int running = 0;
      curl_multi_perform(multi_, &running);
      if (!collect() && unanswered_ > 0) curl_multi_poll(multi_, nullptr, 0, 10'000, nullptr);
    }
  }

private:
  void add(RawGet& get) {
    get.curl().answer.clear();
    curl_multi_add_handle(multi_, get.curl().get());
  }

  /// Whether a call was sent.
  bool collect() {
    bool isSent = false;
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
      CURL* const easy = message->easy_handle;
      check(message->data.result == CURLE_OK, curl_easy_strerror(message->data.result));
      RawGet* get = nullptr;
      long status = 0;
      const char* url = nullptr;
      curl_easy_getinfo(easy, CURLINFO_PRIVATE, &get);
      curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
      curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &url);
      check(status == 200, "the yardstick over the link is answered 200");
      const bool isKey = std::string_view(url).starts_with("http:");
      curl_multi_remove_handle(multi_, easy);
      --unanswered_;
      if (!isKey) continue;
      get->prepareCall();
      add(*get);
      isSent = true;
    }
    return isSent;
  }

  CURLM* const multi_;
  std::array<std::unique_ptr<RawGet>, kBatch> gets_;
  int unanswered_ = 0;
};

} // namespace

void measureFirstGet() {
  const std::string server = Setting::current().sandbox;
  const DelayingProxy link(server, kOneWay);
  setenv("QUARNET_BENCH_SANDBOX", link.address().c_str(), 1);
  const auto run = [](const char* role) {
    return Cost{.wall = std::stod(runSelf({role}).output), .cpu = 0};
  };
  const Comparison result = compareCosts(
      kRounds, [&] { return run("first-get"); }, [&] { return run("first-get-raw"); });
  setenv("QUARNET_BENCH_SANDBOX", server.c_str(), 1);
  report("first GET of a process, 50 ms round trip, TLS 1.3", "from sending to the answer",
         roundTrips(result.ours.wall), roundTrips(result.yardstick.wall),
         result.ours.wall / kRoundTrip, atMost(4.4, "round trips"));
}

void firstGetOurs() {
  setUpLibrary();
  Client client;
  const Call call = callTo(Setting::current().sandbox);
  const Cost cost =
      costOf([&] { check(client.send(call).wait().has_value(), "our first call is answered"); });
  std::cout << cost.wall << '\n';
}

void firstGetRaw() {
  RawGet get(Setting::current().sandbox);
  std::cout << costOf([&] { get.call(); }).wall << '\n';
}

void measureTwentyGets() {
  const DelayingProxy link(Setting::current().sandbox, kOneWay);
  setUpLibrary(link.address());
  Batch batch(link.address());
  RawBatch raw(link.address());
  const Comparison result = compare(
      kRounds, [&] { batch.run(); }, [&] { raw.run(); });
  setUpLibrary();
  batch.held.erase(batch.held.begin()); // the connections were not open
  const double held = median(batch.held);
  constexpr std::string_view kWhat = "twenty GETs at once, 50 ms round trip, connections open";
  report(kWhat, "caller held", seconds(held), "none", held * 1e3, atMost(2, "ms"));
  report(kWhat, "until all are answered", roundTrips(result.ours.wall),
         roundTrips(result.yardstick.wall), result.ours.wall / kRoundTrip,
         atMost(2.6, "round trips"));
}

} // namespace quarnet::bench
