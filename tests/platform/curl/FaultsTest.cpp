#include "Calls.h"
#include "Nginx.h"
#include "WireServer.h"

#include <array>
#include <gtest/gtest.h>
#include <poll.h>
#include <random>
#include <set>
#include <sys/socket.h>
#include <unistd.h>

namespace quarnet::test {
namespace {

using platform::CurlHttpClient;
using platform::HttpResult;

/// Hands on the bytes of a client and a server until a random one of them, mostly.
class FaultyLine {
public:
  FaultyLine(std::uint16_t serverPort, unsigned seed) : serverPort_(serverPort), random_(seed) {}

  struct Fault {
    int counted = 0;              ///< whose bytes are counted: the client's or the server's
    std::size_t after = SIZE_MAX; ///< that many bytes get through before the end
    bool isReset = false;         ///< both ends see a reset, not an orderly end
    std::chrono::milliseconds delay{0};
  };

  void operator()(int client) { pass(client, serverPort_, nextFault()); }

  static void pass(int client, std::uint16_t serverPort, Fault fault) {
    const int server = connectToLoopback(serverPort);
    carry(client, server, fault);
    const linger abortive{1, 0};
    for (const int end : {client, server}) {
      if (fault.isReset) setsockopt(end, SOL_SOCKET, SO_LINGER, &abortive, sizeof(abortive));
    }
    close(server);
  }

private:
  Fault nextFault() {
    const std::lock_guard lock(mutex_);
    if (random_() % 4 == 0) return {};
    return {.counted = random_() % 2 == 0,
            .after = random_() % 20'000,
            .isReset = random_() % 2 == 0,
            .delay = std::chrono::milliseconds(random_() % 8 == 0 ? 2 : 0)};
  }

  static void carry(int client, int server, Fault fault) {
    char piece[4096];
    pollfd ends[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
    while (fault.after > 0) {
      poll(ends, 2, -1);
      for (const int from : {0, 1}) {
        if (ends[from].revents == 0) continue;
        const bool isCounted = from == fault.counted && fault.after != SIZE_MAX;
        const std::size_t most = isCounted ? std::min(fault.after, sizeof(piece)) : sizeof(piece);
        const ssize_t size = recv(ends[from].fd, piece, most, 0);
        if (size <= 0) return;
        std::this_thread::sleep_for(fault.delay);
        const auto got = static_cast<std::size_t>(size);
        if (send(ends[1 - from].fd, piece, got, MSG_NOSIGNAL) < 0) return;
        if (isCounted) fault.after -= got;
      }
    }
  }

  const std::uint16_t serverPort_;
  std::mutex mutex_;
  std::mt19937 random_;
};

/// Passes on as "whole" what nginx answers for the target.
CurlHttpClient::Completion expecting(const std::string& target, CurlHttpClient::Completion done) {
  return [=](HttpResult result) {
    const bool isWhole =
        target.starts_with("/large") ? result.body.size() == Nginx::kLarge : result.body == target;
    EXPECT_TRUE(isWhole || result.error) << target;
    if (!result.error) result.body = "whole";
    done(std::move(result));
  };
}

void expectNoneTwice(const std::vector<Nginx::Arrival>& arrivals) {
  std::map<std::string, int> counts;
  for (const Nginx::Arrival& arrival : arrivals)
    EXPECT_LE(++counts[arrival.target], arrival.method == "POST" ? 1 : 2) << arrival.target;
}

TEST(FaultsTest, ACallIsMadeOnceAndToldOnce) {
  constexpr int kCalls = 1'000;
  constexpr int kThreads = 4;
  constexpr std::array kMethods = {"GET", "POST", "PUT", "DELETE"};
  const unsigned seed = 20'010'101;
  SCOPED_TRACE("seed " + std::to_string(seed));
  Nginx server;
  FaultyLine faultsInClear(server.httpPort(), seed), faultsInSecret(server.httpsPort(), seed + 1);
  WireServer plain(std::ref(faultsInClear)), encrypted(std::ref(faultsInSecret));
  Calls calls;
  {
    CurlHttpClient client({.caFile = server.caFile()});
    const auto call = [&](int i) {
      const int kind = i / kThreads;
      const std::string method = i % 7 == 0 ? "GET" : kMethods[static_cast<std::size_t>(kind % 4)];
      const std::string target = (i % 7 == 0 ? "/large?" : "/") + std::to_string(i);
      const std::string url =
          kind / 4 % 2 == 0 ? plain.url(target) : encrypted.url(target, "https");
      const bool hasBody = method == "POST" || method == "PUT";
      const auto sent = requestFor(method, url, hasBody ? Text(Data(2'000, 'b')) : std::nullopt);
      const auto told = expecting(target, calls.next());
      kind / 8 % 2 == 0 ? told(client.sendSynchronously(*sent))
                        : client.sendAsynchronously(sent, told);
    };
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&call, thread] {
        for (int i = thread; i < kCalls; i += kThreads)
          call(i);
      });
    }
    threads.clear();
    EXPECT_TRUE(calls.wait());
  }
  const int succeeded = calls.outcomes()["whole"];
  EXPECT_GT(succeeded, kCalls / 2);
  EXPECT_LT(succeeded, kCalls);
  expectNoneTwice(server.arrivals());
}

TEST(FaultsTest, APostWhoseFirstRecordsWereReadIsNotSentAgain) {
  Nginx server("location /cut { return 444; }"); // closes without having read the body
  CurlHttpClient client({.caFile = server.caFile()});
  for (int i = 0; i < 100; ++i) {
    const std::string target = "/" + std::to_string(i);
    client.sendSynchronously(*requestFor("GET", server.httpsUrl() + target));
    client.sendSynchronously(
        *requestFor("POST", server.httpsUrl() + "/cut" + target, Data(60'000, 'b')));
  }
  expectNoneTwice(server.arrivals());
}

TEST(FaultsTest, AConnectionOpenedAheadThatTheServerClosesCostsNoCall) {
  Nginx server;
  struct {
    std::string scheme, method;
    std::size_t after; // that many bytes the first connection ends
    bool mayGoAgain;
  } const cases[] = {
      {"http", "POST", 0, true}, {"https", "POST", 0, true}, {"https", "POST", 1, true},
      {"http", "GET", 1, true},  {"http", "POST", 1, false}, // the byte was the request's
  };
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.scheme + tried.method + std::to_string(tried.after));
    const std::uint16_t port = tried.scheme == "http" ? server.httpPort() : server.httpsPort();
    std::atomic<int> connections = 0;
    WireServer line([&](int connection) {
      FaultyLine::pass(connection, port, {.after = ++connections == 1 ? tried.after : SIZE_MAX});
    });
    Calls calls;
    CurlHttpClient client({.caFile = server.caFile()});
    client.openConnection(line.url("/x", tried.scheme));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    calls.send(client, requestFor(tried.method, line.url("/x", tried.scheme), "body"));
    ASSERT_TRUE(calls.wait());
    EXPECT_EQ(calls.outcomes().contains("/x"), tried.mayGoAgain);
    EXPECT_EQ(line.connections(), tried.mayGoAgain ? 2U : 1U);
  }
}

TEST(FaultsTest, AServerThatFallsBackToHttp1GetsNoHandleThatWasUsed) {
  const std::uint16_t fallback = freeLoopbackPort();
  Nginx server("keepalive_requests 3; } server { listen 127.0.0.1:" + std::to_string(fallback) +
               " ssl; ssl_certificate server.pem; ssl_certificate_key server.key;"
               " location / { return 200 $request_uri; }");
  std::atomic<int> connections = 0;
  WireServer line([&](int connection) {
    FaultyLine::pass(connection, ++connections == 1 ? server.httpsPort() : fallback, {});
  });
  CurlHttpClient client({.caFile = server.caFile()});
  for (int i = 0; i < 6; ++i) {
    Calls calls;
    calls.send(client, requestFor(i % 2 == 0 ? "POST" : "GET", line.url("/x", "https")));
    ASSERT_TRUE(calls.wait());
    EXPECT_TRUE(calls.outcomes().contains("/x")) << testing::PrintToString(calls.outcomes());
  }
  EXPECT_EQ(line.connections(), 3U); // the second one was left to a new handle, unused

  WireServer folded([](const std::string&) { return "HTTP/1.1 200 OK\r\n folded: x\r\n\r\n"; });
  const HttpResult result = client.sendSynchronously(*requestFor("GET", folded.url()));
  EXPECT_TRUE(result.error && result.failure == platform::HttpFailure::NoConnection);
}

TEST(FaultsTest, OverHttp2CallsShareAConnectionAndNoneIsLostWhenTheServerEndsIt) {
  struct {
    std::string requestsAConnection;
    std::size_t bodySize; // of each seventh, and of one address; what is large goes over HTTP/1.1
    std::size_t mostConnections;
  } const cases[] = {{"100000", 0, 1}, {"100", 0, 500}, {"20", 0, 500}, {"100000", 100'000, 2'000}};
  constexpr int kCalls = 2'000;
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.requestsAConnection);
    // Breaks off in the middle of its answer, and nginx then resets the stream.
    WireServer origin([](const std::string&) {
      return "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 9\r\n\r\nhalf";
    });
    Nginx server("keepalive_requests " + tried.requestsAConnection +
                 "; location /reset { proxy_pass " + origin.url() + "; }");
    Calls calls;
    CurlHttpClient client({.caFile = server.caFile()});
    const auto call = [&](const std::string& target, const std::string& method, const Text& body) {
      client.sendAsynchronously(requestFor(method, server.httpsUrl() + target, body),
                                expecting(target, calls.next()));
    };
    call("/reset", "POST", Data(2'000, 'b'));
    call("/" + std::string(tried.bodySize, 'a'), "GET", {});
    for (int i = 0; i < kCalls; ++i) {
      const bool isGet = i % 3 == 0;
      const Text body = Data(i % 7 == 1 ? tried.bodySize : 2'000, 'b');
      call("/" + std::to_string(i), isGet ? "GET" : "POST", isGet && i % 7 != 1 ? Text() : body);
    }
    EXPECT_TRUE(calls.wait());
    EXPECT_EQ(calls.outcomes()["whole"], kCalls + 1) << testing::PrintToString(calls.outcomes());
    const auto arrivals = server.arrivals();
    expectNoneTwice(arrivals);
    std::set<std::string> connections;
    for (const Nginx::Arrival& arrival : arrivals) {
      if (arrival.protocol == "HTTP/2.0") connections.insert(arrival.connection);
    }
    EXPECT_FALSE(connections.empty());
    EXPECT_LE(connections.size(), tried.mostConnections);
  }
}

} // namespace
} // namespace quarnet::test
