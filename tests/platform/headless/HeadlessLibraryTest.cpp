#include "quarnet/platform/headless/HeadlessLibrary.h"

#include "tests/support/Callbacks.h"

#include <gmock/gmock.h>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::HttpRequest;
using platform::HttpResult;
using platform::ReceivedRequest;
using ::testing::ElementsAre;

class HeadlessLibrary : public ::testing::Test {
protected:
  /// Keeps the body of the answer, or the error's text, by the time that it came.
  void send(std::string url, std::string method = "GET", std::stop_token stopToken = {}) {
    HttpRequest request{.url = std::move(url),
                        .method = std::move(method),
                        .timeout = 1s,
                        .stopToken = std::move(stopToken)};
    library_.http->sendAsynchronously(
        std::make_shared<const HttpRequest>(request), [this](const HttpResult& result) {
          library_.mainThread->post([this, result] {
            ended_.push_back(result.error ? *result.error->description : result.body);
          });
        });
  }

  /// What ended since the last time, when this much time passes.
  std::vector<std::string> after(std::chrono::milliseconds time) {
    library_.advance(time);
    return std::exchange(ended_, {});
  }

  /// A GET of the library with these parameters; what the server received of them.
  Parameters received(const std::string& url, const Parameters& parameters) {
    RequestBundle bundle;
    bundle.setUrl(url);
    bundle.setParameters(parameters);
    APIRequest().requestError(bundle, nullptr);
    return library_.http->received("GET", url).back().parameters;
  }

  platform::HeadlessLibrary library_;
  std::vector<std::string> ended_;
};

TEST_F(HeadlessLibrary, GivesTheAnswersOfTheLatestRuleInTheirOrder) {
  library_.http->on("", "https://h/").answer("old");
  library_.http->on("GET", "https://h/a").answer("first").fail("no").answer("for ever");
  library_.http->on("GET", "https://h/a"); // has no answers yet
  for (int i = 0; i < 4; ++i)
    send("https://h/a?x=1");
  send("https://h/b");
  send("https://h/a", "PUT");
  EXPECT_TRUE(ended_.empty()); // nothing runs before the test says so
  library_.run();
  EXPECT_THAT(ended_, ElementsAre("first", "no", "for ever", "for ever", "old", "old"));
  EXPECT_EQ(library_.http->received("PUT", "https://h/").size(), 1U);
}

TEST_F(HeadlessLibrary, MovesTheTimeByHand) {
  library_.http->on("", "https://h/late").after(500ms).answer("late");
  library_.http->on("", "https://h/soon").answer("soon");
  library_.http->on("", "https://h/never").hang();
  send("https://h/never");
  send("https://h/late");
  send("https://h/soon");
  EXPECT_THAT(after(499ms), ElementsAre("soon"));
  EXPECT_THAT(after(1ms), ElementsAre("late"));
  EXPECT_THAT(after(500ms), ElementsAre("The time for the request is up"));
  send("https://h/never");
  library_.http->dropConnections();
  EXPECT_THAT(after(0ms), ElementsAre("The connection was lost"));
  EXPECT_EQ(library_.clock->secondsSince1970(), 1'700'000'001);

  // Who blocks cannot move the time, so it has passed.
  EXPECT_EQ(library_.http->sendSynchronously({.url = "https://h/late"}).body, "late");
  EXPECT_EQ(library_.http->sendSynchronously({.url = "https://h/never"}).error->code, 28);
}

TEST_F(HeadlessLibrary, EndsWhatIsAskedToStop) {
  library_.http->on("", "https://h/never").hang();
  std::stop_source source;
  send("https://h/never", "GET", source.get_token());
  EXPECT_THAT(after(0ms), ElementsAre());
  source.request_stop();
  EXPECT_THAT(after(0ms), ElementsAre("The request was cancelled"));
  send("https://h/never", "GET", source.get_token());
  EXPECT_THAT(after(0ms), ElementsAre("The request was cancelled"));
  EXPECT_EQ(library_.http->received().size(), 1U);
}

TEST_F(HeadlessLibrary, NamesWhatNobodyScripted) {
  send("https://h/a?secret=1");
  EXPECT_THAT(after(0ms), ElementsAre("No answer is scripted for GET https://h/a"));
  EXPECT_THAT(library_.http->unexpected(), ElementsAre("GET https://h/a"));
  EXPECT_EQ(library_.http->received().at(0).parameters, (Parameters{{"secret", "1"}}));
}

TEST_F(HeadlessLibrary, ReadsTheParametersThatTravelEncrypted) {
  library_.signIn();
  library_.http->on("GET", "https://h/").answer("{}");
  std::string every;
  for (char c = 1; c < 127; ++c)
    every += c;
  for (const Parameters& parameters :
       {Parameters{{"k", every + "서울역"}, {"empty", ""}, {"none", {}}}, Parameters{}})
    EXPECT_EQ(received("https://h/a", parameters), parameters);
  // A key that was not handed out here.
  library_.http->on("", "http://").answer(R"({"body":{"key":"k","iv":"v"}})");
  EXPECT_EQ(received("https://h/a", {{"k", "1"}}), Parameters{});
}

TEST_F(HeadlessLibrary, AnswersManyThreadsEachWithItsOwn) {
  library_.http->on([](const ReceivedRequest& request) { return request.parameters.contains("n"); })
      .answer([](const ReceivedRequest& request) {
        return HttpResult{platform::HttpResponse{200}, *request.parameters.at("n"), std::nullopt};
      });
  std::atomic<int> right = 0;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
      threads.emplace_back([&, thread] {
        for (int call = 0; call < 100; ++call) {
          const auto number = std::to_string(100 * thread + call);
          library_.http->sendAsynchronously(
              std::make_shared<const HttpRequest>(HttpRequest{.url = "https://h/?n=" + number}),
              [&right, number](const HttpResult& result) { right += result.body == number; });
        }
      });
    }
  }
  EXPECT_TRUE(library_.runUntil([&] { return right == 800; }));
  EXPECT_EQ(library_.http->received().size(), 800U);
}

TEST_F(HeadlessLibrary, ForgetsAllButWhatWasSavedInARestart) {
  auto& session = OAuthInfoManager::sharedInstance();
  library_.signIn();
  session.setScope("s");
  library_.store->canBeWritten = false;
  session.oAuthInfo().setAccessToken("unsaved");
  session.saveOAuthInfo();
  EXPECT_EQ(library_.store->value("access_token"), "unsaved");
  library_.restart();
  EXPECT_EQ(session.scope(), std::nullopt);
  EXPECT_EQ(session.oAuthInfo().accessToken(), std::nullopt);
  library_.store->canBeRead = false;
  session.restoreOAuthInfo();
  EXPECT_EQ(session.oAuthInfo().accessToken(), std::nullopt);
  library_.store->canBeRead = true;
  session.restoreOAuthInfo();
  EXPECT_EQ(session.oAuthInfo().accessToken(), "access-1");
  EXPECT_EQ(library_.store->saved().at("refresh_token"), "refresh-1");
}

TEST_F(HeadlessLibrary, LeavesNothingForTheNextTest) {
  auto& session = OAuthInfoManager::sharedInstance();
  {
    platform::HeadlessLibrary other;
    Callbacks app;
    other.signIn();
    other.http->on("", "https://h/").hang();
    session.set_target(&app);
    session.set_failedSelector(&Callbacks::failed);
    session.readUrl("https://h/");
    other.http->on("", "https://busy/").answer("", 503);
    const Retry soon{.attempts = 9, .first = 20ms, .longest = 20ms};
    Client().send({.method = HttpMethod::PUT, .url = "https://busy/", .retry = soon}).detach();
    other.run();
  }
  {
    platform::HeadlessLibrary next;
    next.signIn();
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(next.http->received().size(), 0U);
  }
  EXPECT_EQ(session.clientId(), std::nullopt);
  EXPECT_EQ(session._target(), nullptr);
  EXPECT_EQ(session.getOAuthInfo().getWholeInfo(),
            "accessToken:(null)\nrefreshToken:(null)\nexpiresIn:(null)\nscope:(null)\n"
            "expiresSystime:(null)\n");
}

TEST(RequestBundle, TakesItsParametersInBraces) {
  RequestBundle bundle;
  bundle.setParameters({{"a", "b"}, {"none", std::nullopt}});
  EXPECT_EQ(bundle.parameters(), (Parameters{{"a", "b"}, {"none", std::nullopt}}));
  bundle.setParameters({{"a", "b"}});
  EXPECT_EQ(bundle.parameters(), (Parameters{{"a", "b"}}));
  bundle.setParameters({});
  EXPECT_EQ(bundle.parameters(), std::nullopt);
}

} // namespace
} // namespace quarnet::test
