#include "WireServer.h"
#include "sandbox/Server.h"

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <condition_variable>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <optional>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::CurlHttpClient;
using platform::HttpRequest;
using platform::HttpResult;
using sandbox::Misbehaviour;

std::shared_ptr<const HttpRequest> post(std::string url, std::chrono::milliseconds timeout = 60s) {
  HttpRequest request;
  request.url = std::move(url);
  request.method = "POST";
  request.body = std::make_shared<Data>("body");
  request.timeout = timeout;
  return std::make_shared<HttpRequest>(std::move(request));
}

/// Counts how often each of so many sends has completed.
class Completions {
public:
  explicit Completions(std::size_t sends) : counts_(sends) {}

  CurlHttpClient::Completion at(std::size_t index) {
    return [this, index](const HttpResult& result) {
      const std::lock_guard lock(mutex_);
      ++counts_[index];
      ++outcomes_[result.error ? *result.error->description : result.body];
      ++completed_;
      changed_.notify_all();
    };
  }

  /// Waits until `count` sends have completed.
  bool wait(std::size_t count, std::chrono::seconds limit = 60s) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return completed_ >= count; });
  }

  bool eachOnce() {
    const std::lock_guard lock(mutex_);
    return std::count(counts_.begin(), counts_.end(), 1) == std::ssize(counts_);
  }

  int outcome(const std::string& text) {
    const std::lock_guard lock(mutex_);
    return outcomes_[text];
  }

private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<int> counts_;
  std::map<std::string, int> outcomes_;
  std::size_t completed_ = 0;
};

std::size_t threadCount() {
  const std::filesystem::directory_iterator threads("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(threads), end(threads)));
}

TEST(AsyncSendTest, TenThousandCallsNeedFewThreadsAndConnections) {
  constexpr std::size_t kCalls = 10'000;
  sandbox::Server server;
  server.misbehave("*", Misbehaviour::body("fine"));
  Completions completions(kCalls);
  CurlHttpClient client({.caFile = sandbox::Server::caFile()});
  const std::size_t threads = threadCount();
  const auto request = post("https://" + server.host() + "/x");
  for (std::size_t i = 0; i < kCalls; ++i)
    client.sendAsynchronously(request, completions.at(i));
  ASSERT_TRUE(completions.wait(1));
  EXPECT_LE(threadCount(), threads + 4);
  ASSERT_TRUE(completions.wait(kCalls));
  EXPECT_TRUE(completions.eachOnce());
  EXPECT_EQ(completions.outcome("fine"), static_cast<int>(kCalls));
  EXPECT_LE(server.acceptedConnections(), 64U);
}

TEST(AsyncSendTest, DestroyingTheClientFailsWhatIsUnderWay) {
  WireServer server([](const std::string&) { return WireServer::kSilence; });
  Completions completions(300);
  {
    CurlHttpClient client;
    for (std::size_t i = 0; i < 300; ++i)
      client.sendAsynchronously(post(server.url()), completions.at(i));
  }
  EXPECT_TRUE(completions.eachOnce());
  EXPECT_EQ(completions.outcome("The HTTP client was destroyed"), 300);
}

TEST(AsyncSendTest, ACompletionMayDestroyItsClient) {
  WireServer server([](const std::string&) { return answer("fine"); });
  Completions completions(1);
  auto client = std::make_shared<CurlHttpClient>();
  CurlHttpClient& sender = *client;
  sender.sendAsynchronously(
      post(server.url()),
      [client = std::move(client), done = completions.at(0)](const HttpResult& result) mutable {
        client.reset();
        done(result);
      });
  EXPECT_TRUE(completions.wait(1, 10s));
}

TEST(AsyncSendTest, ASlowCompletionHoldsUpNoTransfer) {
  WireServer server([](const std::string&) { return answer("fine"); });
  CurlHttpClient client;
  Completions completions(101);
  std::atomic<bool> release = false;
  client.sendAsynchronously(post(server.url()), [&, done = completions.at(0)](HttpResult result) {
    while (!release)
      std::this_thread::sleep_for(1ms);
    done(result);
  });
  for (std::size_t i = 1; i <= 100; ++i)
    client.sendAsynchronously(post(server.url()), completions.at(i));
  EXPECT_TRUE(completions.wait(100, 10s));
  release = true;
  EXPECT_TRUE(completions.wait(101, 10s));
}

TEST(AsyncSendTest, TheClockOfACallStartsWhenItGoesOnTheWire) {
  // 640 calls of 100 ms each, 64 at a time, take longer than one call may.
  WireServer server([](const std::string&) {
    std::this_thread::sleep_for(100ms);
    return answer("fine");
  });
  CurlHttpClient client;
  Completions completions(641);
  for (std::size_t i = 0; i < 640; ++i)
    client.sendAsynchronously(post(server.url(), 700ms), completions.at(i));
  WireServer silent([](const std::string&) { return WireServer::kSilence; });
  client.sendAsynchronously(post(silent.url(), 100ms), completions.at(640));
  EXPECT_TRUE(completions.wait(641, 10s));
  EXPECT_EQ(completions.outcome("fine"), 640);
}

TEST(AsyncSendTest, ASlowCallHoldsUpNeitherItsHostNorAnother) {
  const auto slowly = [](const std::string& request) {
    if (request.find("quick") == std::string::npos) std::this_thread::sleep_for(2s);
    return answer("fine");
  };
  WireServer hanging(slowly), server(slowly);
  Completions slow(193), quick(10);
  CurlHttpClient client;
  for (std::size_t i = 0; i < 192; ++i)
    client.sendAsynchronously(post(hanging.url()), slow.at(i));
  client.sendAsynchronously(post(server.url()), slow.at(192));
  for (std::size_t i = 0; i < 10; ++i)
    client.sendAsynchronously(post(server.url("/quick")), quick.at(i));
  EXPECT_TRUE(quick.wait(10, 1s));
  EXPECT_FALSE(slow.wait(1, 0s));
}

} // namespace
} // namespace quarnet::test
