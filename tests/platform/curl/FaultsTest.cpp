#include "FaultyLine.h"
#include "Nginx.h"
#include "WireServer.h"

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <array>
#include <gtest/gtest.h>
#include <latch>
#include <map>
#include <random>
#include <set>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::CurlHttpClient;
using platform::HttpRequest;
using platform::HttpResult;

std::shared_ptr<HttpRequest> requestFor(std::string url, std::string method) {
  auto request = std::make_shared<HttpRequest>();
  request->url = std::move(url);
  request->method = std::move(method);
  request->timeout = 20s;
  if (request->method == "POST" || request->method == "PUT") {
    request->body = std::make_shared<Data>(2'000, 'b');
  }
  return request;
}

std::string addressOf(const std::string& scheme, std::uint16_t port) {
  return scheme + "://127.0.0.1:" + std::to_string(port);
}

/// Most connections end at some byte in the one or the other direction.
std::function<FaultyLine::Fault()> randomFaults(unsigned seed) {
  return [random = std::mt19937(seed)]() mutable -> FaultyLine::Fault {
    if (random() % 4 == 0) return {};
    return {.towardsServer = random() % 2 == 0,
            .after = random() % 20'000,
            .isReset = random() % 2 == 0,
            .delay = std::chrono::milliseconds(random() % 8 == 0 ? 2 : 0)};
  };
}

TEST(FaultsTest, ACallIsMadeOnceAndToldOnce) {
  constexpr std::size_t kCalls = 1'000;
  constexpr std::size_t kThreads = 4;
  constexpr std::array kMethods = {"GET", "POST", "PUT", "DELETE"};
  const unsigned seed = 20'010'101;
  SCOPED_TRACE("seed " + std::to_string(seed));
  Nginx server;
  FaultyLine plain(server.httpPort(), randomFaults(seed));
  FaultyLine encrypted(server.httpsPort(), randomFaults(seed + 1));
  std::vector<std::atomic<int>> told(kCalls);
  std::atomic<int> succeeded = 0;
  std::latch all(kCalls);
  const auto targetOf = [](std::size_t call) {
    return (call % 7 == 0 ? "/large?" : "/") + std::to_string(call);
  };
  const auto note = [&](std::size_t call) {
    return [&, call](const HttpResult& result) {
      const bool isWhole =
          call % 7 == 0 ? result.body.size() == Nginx::kLarge : result.body == targetOf(call);
      EXPECT_TRUE(isWhole || result.error) << targetOf(call);
      if (!result.error) ++succeeded;
      if (++told[call] == 1) all.count_down();
    };
  };
  {
    CurlHttpClient client({.caFile = server.caFile()});
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        for (std::size_t i = thread; i < kCalls; i += kThreads) {
          const std::size_t kind = i / kThreads;
          const auto request =
              requestFor((kind / 4 % 2 == 0 ? addressOf("http", plain.port())
                                            : addressOf("https", encrypted.port())) +
                             targetOf(i),
                         i % 7 == 0 ? "GET" : kMethods[kind % 4]);
          if (kind / 8 % 2 == 0) {
            note(i)(client.sendSynchronously(*request));
          } else {
            client.sendAsynchronously(request, note(i));
          }
        }
      });
    }
    threads.clear();
    all.wait();
  }
  EXPECT_EQ(std::count(told.begin(), told.end(), 1), std::ssize(told));
  EXPECT_GT(succeeded, static_cast<int>(kCalls / 2));
  EXPECT_LT(succeeded, static_cast<int>(kCalls));
  std::map<std::string, int> counts;
  for (const Nginx::Arrival& arrival : server.arrivals())
    EXPECT_LE(++counts[arrival.target], arrival.method == "POST" ? 1 : 2) << arrival.target;
}

TEST(FaultsTest, OverHttp2CallsShareAConnectionAndNoneIsLostWhenTheServerEndsIt) {
  struct {
    std::string requestsAConnection;
    std::size_t bodySize; // of each seventh; a large one goes over HTTP/1.1
    std::size_t mostConnections;
  } const cases[] = {{"100000", 0, 1}, {"100", 0, 500}, {"20", 0, 500}, {"100000", 100'000, 64}};
  constexpr std::size_t kCalls = 2'000;
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.requestsAConnection);
    // Breaks off in the middle of its answer, and nginx then resets the stream.
    WireServer origin([](const std::string&) {
      return "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 9\r\n\r\nhalf";
    });
    Nginx server("keepalive_requests " + tried.requestsAConnection +
                 "; location /reset { proxy_pass " + origin.url() + "; }");
    std::atomic<std::size_t> succeeded = 0;
    std::latch all(kCalls + 1);
    CurlHttpClient client({.caFile = server.caFile()});
    client.sendAsynchronously(requestFor(server.httpsUrl() + "/reset", "POST"),
                              [&](const HttpResult& result) {
                                EXPECT_TRUE(result.error);
                                all.count_down();
                              });
    for (std::size_t i = 0; i < kCalls; ++i) {
      const std::string target = "/" + std::to_string(i);
      const auto request = requestFor(server.httpsUrl() + target, i % 3 == 0 ? "GET" : "POST");
      if (i % 7 == 1) request->body = std::make_shared<Data>(tried.bodySize, 'b');
      client.sendAsynchronously(request, [&, target](const HttpResult& result) {
        if (result.body == target) ++succeeded;
        all.count_down();
      });
    }
    all.wait();
    EXPECT_EQ(succeeded, kCalls);
    std::set<std::string> connections;
    std::map<std::string, int> counts;
    for (const Nginx::Arrival& arrival : server.arrivals()) {
      if (arrival.protocol == "HTTP/2.0") connections.insert(arrival.connection);
      EXPECT_LE(++counts[arrival.target], arrival.method == "POST" ? 1 : 2) << arrival.target;
    }
    EXPECT_FALSE(connections.empty());
    EXPECT_LE(connections.size(), tried.mostConnections);
  }
}

} // namespace
} // namespace quarnet::test
