#include "Calls.h"
#include "Nginx.h"
#include "WireServer.h"

#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::CurlHttpClient;
using platform::HttpRequest;
using testing::ElementsAre;
using testing::Pair;

const std::string kCancelled = "The request was cancelled";
const WireServer::Script silent = [](const std::string&) { return WireServer::kSilence; };
const WireServer::Script redirecting = [](const std::string&) {
  return answer("", "Location: /on\r\n", "307 Go");
};

std::shared_ptr<HttpRequest> stoppedBy(const std::stop_source& source, std::string url,
                                       std::string method = "POST") {
  auto request = requestFor(std::move(method), std::move(url), "body");
  request->stopToken = source.get_token();
  return request;
}

TEST(CancelTest, TenThousandEndAtOnceAndMakeRoomForOthers) {
  for (const bool haveOneToken : {true, false}) {
    WireServer server([](const std::string& request) {
      return request.starts_with("GET") ? answer("fine") : WireServer::kSilence;
    });
    CurlHttpClient client;
    Calls calls, late, others;
    std::deque<std::stop_source> sources(haveOneToken ? 1 : 10'000);
    for (std::size_t i = 0; i < 10'000; ++i)
      calls.send(client, stoppedBy(haveOneToken ? sources[0] : sources[i], server.url()));
    others.send(client, requestFor("GET", server.url()), 100);
    EXPECT_FALSE(others.wait(0s, 1));
    const auto start = std::chrono::steady_clock::now();
    for (std::stop_source& source : sources)
      source.request_stop();
    // What was stopped before does not go out.
    late.send(client, stoppedBy(sources[0], server.url("/late")), 100);
    ASSERT_TRUE(calls.wait(10s) && late.wait(10s) && others.wait(10s));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
    EXPECT_THAT(calls.outcomes(), ElementsAre(Pair(kCancelled, 10'000)));
    EXPECT_THAT(late.outcomes(), ElementsAre(Pair(kCancelled, 100)));
    EXPECT_THAT(others.outcomes(), ElementsAre(Pair("fine", 100)));
    for (const std::string& request : server.requests())
      EXPECT_EQ(request.find("/late"), std::string::npos);
  }
}

TEST(CancelTest, AnHttp2ConnectionOutlivesItsCancelledStreams) {
  WireServer behind(silent);
  Nginx server("location /slow { proxy_pass " + behind.url() + "; }");
  CurlHttpClient client({.caFile = server.caFile()});
  Calls slow, quick;
  std::stop_source source;
  slow.send(client, stoppedBy(source, server.httpsUrl() + "/slow"), 30);
  while (behind.requests().size() < 30)
    std::this_thread::sleep_for(5ms);
  source.request_stop();
  ASSERT_TRUE(slow.wait(5s));
  EXPECT_THAT(slow.outcomes(), ElementsAre(Pair(kCancelled, 30)));
  quick.send(client, requestFor("POST", server.httpsUrl() + "/quick", "body"), 30);
  ASSERT_TRUE(quick.wait(5s));
  EXPECT_THAT(quick.outcomes(), ElementsAre(Pair("/quick", 30)));
  const auto arrivals = server.arrivals();
  for (const Nginx::Arrival& arrival : arrivals)
    EXPECT_EQ(arrival.connection, arrivals[0].connection);
  EXPECT_EQ(arrivals.at(0).protocol, "HTTP/2.0");
}

TEST(CancelTest, AnyMomentAndThreadWillDo) {
  const unsigned seed = 20'010'101;
  WireServer hanging(silent), turning(redirecting);
  Nginx server("http2_max_concurrent_streams 16; location /on { return 307 /on; }");
  const std::string urls[] = {server.httpsUrl() + "/x",
                              server.httpsUrl() + "/large",
                              server.httpsUrl() + "/on",
                              hanging.url(),
                              turning.url(),
                              "http://127.0.0.1:" + std::to_string(server.httpPort()) + "/large"};
  for (int round = 0; round < 4; ++round) {
    Calls calls;
    auto client = std::make_unique<CurlHttpClient>(
        platform::CurlHttpClientOptions{.caFile = server.caFile()});
    std::deque<std::stop_source> sources(300);
    std::vector<std::jthread> threads;
    for (unsigned thread = 0; thread < 3; ++thread) {
      threads.emplace_back([&, random = std::mt19937(seed + thread)]() mutable {
        for (std::size_t i = 0; i < 300; ++i) {
          std::stop_source& own = sources[i];
          const auto request = stoppedBy(own, urls[random() % std::size(urls)], "GET");
          client->sendAsynchronously(
              request, [&, other = random() % 300, done = calls.next()](const auto& result) {
                sources[other].request_stop();
                done(result);
              });
          if (random() % 4 == 0) sources[random() % 300].request_stop();
          if (random() % 8 == 0) client->openConnection(urls[random() % std::size(urls)]);
          if (random() % 8 == 0) std::this_thread::sleep_for(1ms);
        }
      });
    }
    threads.clear();
    threads.emplace_back([&] {
      for (std::stop_source& source : sources)
        source.request_stop();
    });
    // In every other round the end of the client has to come to terms with them.
    EXPECT_TRUE(round % 2 == 0 || calls.wait(20s));
    client.reset();
    EXPECT_TRUE(calls.wait(0s));
    EXPECT_GE(calls.outcomes()[kCancelled], 200) << testing::PrintToString(calls.outcomes());
  }
}

} // namespace
} // namespace quarnet::test
