#include "Calls.h"
#include "WireServer.h"
#include "sandbox/Server.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::CurlHttpClient;
using testing::ElementsAre;
using testing::Pair;

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
