#include "Calls.h"
#include "Nginx.h"
#include "WireServer.h"
#include "sandbox/Server.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::CurlHttpClient;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::UnorderedElementsAre;

const WireServer::Script fine = [](const std::string&) { return answer("fine"); };
const WireServer::Script silent = [](const std::string&) { return WireServer::kSilence; };

std::ptrdiff_t threadCount() {
  const std::filesystem::directory_iterator threads("/proc/self/task");
  return std::distance(begin(threads), end(threads));
}

TEST(AsyncSendTest, TenThousandCallsNeedFewThreadsAndConnections) {
  sandbox::Server server;
  server.misbehave("*", sandbox::Misbehaviour::body("fine"));
  Calls calls;
  CurlHttpClient client({.caFile = sandbox::Server::caFile()});
  const auto threads = threadCount();
  calls.send(client, requestFor("POST", "https://" + server.host() + "/x", "body", 60s), 10'000);
  ASSERT_TRUE(calls.wait(60s, 1));
  EXPECT_LE(threadCount(), threads + 4);
  ASSERT_TRUE(calls.wait());
  EXPECT_THAT(calls.outcomes(), ElementsAre(Pair("fine", 10'000)));
  EXPECT_LE(server.acceptedConnections(), 64U);
}

TEST(AsyncSendTest, DestroyingTheClientFailsWhatIsUnderWay) {
  WireServer server(silent);
  Calls calls;
  {
    CurlHttpClient client;
    calls.send(client, requestFor("POST", server.url()), 300);
  }
  EXPECT_THAT(calls.outcomes(), ElementsAre(Pair("The HTTP client was destroyed", 300)));
}

TEST(AsyncSendTest, ACompletionMayDestroyItsClient) {
  WireServer server(fine);
  Calls calls;
  auto client = std::make_shared<CurlHttpClient>();
  CurlHttpClient& sender = *client;
  sender.sendAsynchronously(
      requestFor("POST", server.url()),
      [client = std::move(client), done = calls.next()](const auto& result) mutable {
        client.reset();
        done(result);
      });
  EXPECT_TRUE(calls.wait(10s));
}

TEST(AsyncSendTest, WithoutDescriptorsOneFailsAndTheNextIsAsQuickAsEver) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "UndefinedBehaviorSanitizer looks at objects by a descriptor";
#endif
  WireServer server([](const std::string&) { return answer("ok"); });
  Calls calls;
  CurlHttpClient client;
  rlimit usual{};
  getrlimit(RLIMIT_NOFILE, &usual);
  const rlimit none{.rlim_cur = 0, .rlim_max = usual.rlim_max};
  for (const rlimit& limit : {none, usual}) {
    setrlimit(RLIMIT_NOFILE, &limit);
    calls.send(client, requestFor("GET", server.url()));
    calls.wait();
  }
  EXPECT_THAT(calls.outcomes(),
              UnorderedElementsAre(Pair("ok", 1), Pair(HasSubstr("open files"), 1)));
}

TEST(AsyncSendTest, ASlowCompletionHoldsUpNoTransfer) {
  WireServer server(fine);
  CurlHttpClient client;
  Calls calls;
  std::atomic<bool> release = false;
  client.sendAsynchronously(requestFor("POST", server.url()),
                            [&, done = calls.next()](const auto& result) {
                              release.wait(false);
                              done(result);
                            });
  calls.send(client, requestFor("POST", server.url()), 100);
  EXPECT_TRUE(calls.wait(10s, 100));
  release = true;
  release.notify_all();
  EXPECT_TRUE(calls.wait(10s));
}

TEST(AsyncSendTest, TheClockOfACallStartsWhenItGoesOnTheWire) {
  // 640 calls of 100 ms each, 64 at a time, take longer than one call may.
  WireServer server([](const std::string&) {
    std::this_thread::sleep_for(100ms);
    return answer("fine");
  });
  WireServer hanging(silent);
  CurlHttpClient client;
  Calls calls, late;
  calls.send(client, requestFor("POST", server.url(), {}, 700ms), 640);
  late.send(client, requestFor("POST", hanging.url(), {}, 100ms));
  EXPECT_TRUE(late.wait(10s));
  EXPECT_TRUE(calls.wait(10s));
  EXPECT_THAT(calls.outcomes(), ElementsAre(Pair("fine", 640)));
}

TEST(AsyncSendTest, AConnectionOpenedAheadServesTheNextSends) {
  WireServer plain(fine), closing(WireServer::Serve([](int) {}));
  Nginx secret;
  CurlHttpClient client({.caFile = secret.caFile()});
  const auto open = [&](const std::string& url) {
    client.openConnection(url);
    std::this_thread::sleep_for(250ms);
  };
  const auto waitForConnections = [](const WireServer& server, std::size_t count) {
    for (int waits = 0; server.connections() < count && waits < 100; ++waits)
      std::this_thread::sleep_for(50ms);
  };
  setenv("all_proxy", "http://127.0.0.1:1", 1);
  open(plain.url());
  unsetenv("all_proxy");
  EXPECT_EQ(plain.connections(), 0U);
  for (const std::string url : {"", "http://", "http://127.0.0.1:1/", "file:///", "http://a b/"})
    client.openConnection(url);
  for (int i = 0; i < 100; ++i)
    client.openConnection(plain.url("/" + std::to_string(i)));
  waitForConnections(plain, 1);
  open(secret.httpsUrl());
  EXPECT_EQ(plain.requests().size(), 0U);
  for (std::size_t i = 1; i <= 3; ++i) {
    Calls calls;
    calls.send(client, requestFor("POST", plain.url()));
    calls.send(client, requestFor("POST", secret.httpsUrl() + "/x"), 50);
    ASSERT_TRUE(calls.wait(10s));
    EXPECT_THAT(calls.outcomes(), ElementsAre(Pair("/x", 50), Pair("fine", 1)));
    EXPECT_EQ(plain.connections(), 1U);
    client.openConnection(plain.url());
    open(closing.url());
    waitForConnections(closing, i);
    EXPECT_EQ(closing.connections(), i);
  }
  // The first connection was made to see whether the server listens.
  for (const Nginx::Arrival& arrival : secret.arrivals())
    EXPECT_EQ(arrival.protocol + " " + arrival.connection, "HTTP/2.0 2");
}

TEST(AsyncSendTest, ProgressIsReportedNowAndThenAndAtTheEnd) {
  Nginx server("location = /slow { root .; limit_rate 2m;"
               "try_files /large =404; } location = /moved { return 307 /; }");
  CurlHttpClient client({.caFile = server.caFile()});
  const std::string plain = "http://127.0.0.1:" + std::to_string(server.httpPort());
  struct {
    std::string method, url;
    std::size_t sent, received, reports;
  } const cases[] = {{"GET", plain + "/slow", 0, Nginx::kLarge, 4},
                     {"GET", server.httpsUrl() + "/slow", 0, Nginx::kLarge, 4},
                     {"POST", server.httpsUrl() + "/", 50'000, 1, 1},
                     {"PUT", server.httpsUrl() + "/moved", 900'000, 1, 1}};
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.method + " " + tried.url);
    Calls calls;
    std::vector<platform::HttpProgress> reports;
    const auto request = requestFor(tried.method, tried.url, Data(tried.sent, 'b'));
    request->progress = [&](const auto& progress) { reports.push_back(progress); };
    calls.send(client, request);
    ASSERT_TRUE(calls.wait(20s));
    ASSERT_GE(reports.size(), tried.reports);
    EXPECT_LE(reports.size(), 20U);
    const platform::HttpProgress& last = reports.back();
    EXPECT_EQ(std::tie(last.sent, last.received), std::tie(tried.sent, tried.received));
    EXPECT_EQ(std::tie(last.toSend, last.toReceive), std::tie(tried.sent, tried.received));
  }
}

TEST(AsyncSendTest, ASlowCallHoldsUpNeitherItsHostNorAnother) {
  const auto slowly = [](const std::string& request) {
    if (request.find("quick") == std::string::npos) std::this_thread::sleep_for(2s);
    return answer("fine");
  };
  WireServer hanging(slowly), server(slowly);
  Calls slow, quick;
  CurlHttpClient client;
  slow.send(client, requestFor("POST", hanging.url()), 192);
  slow.send(client, requestFor("POST", server.url()));
  quick.send(client, requestFor("POST", server.url("/quick")), 10);
  EXPECT_TRUE(quick.wait(1s));
  EXPECT_FALSE(slow.wait(0s, 1));
}

} // namespace
} // namespace quarnet::test
