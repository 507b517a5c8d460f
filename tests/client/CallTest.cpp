#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include "quarnet/client/Client.h"
#include "quarnet/platform/headless/HeadlessLibrary.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <gmock/gmock.h>
#include <latch>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::HttpResult;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Kind = ApiErrorKind;

constexpr char kUrl[] = "https://api.example/v1/places";

/// What a program and a person see of an outcome, in one line.
std::string words(const Result<Answer>& result) {
  return result ? std::to_string(result->status) + " " + result->body
                : result.error().description();
}

class ClientCall : public ::testing::Test {
protected:
  void SetUp() override { library_.signIn(); }

  platform::ScriptedAnswers on(const std::string& url = kUrl) { return library_.http->on("", url); }
  static auto answered(long status, std::chrono::seconds retryAfter = 0s) {
    return [=](const auto&) {
      return HttpResult{.response = platform::HttpResponse{status, retryAfter}, .body = "busy"};
    };
  }
  std::vector<std::string> accessTokens() const {
    std::vector<std::string> tokens;
    for (const auto& request : library_.http->received("", kUrl))
      tokens.emplace_back(*request.headerFields.get("access_token"));
    return tokens;
  }
  /// The outcome of a call, through the callbacks.
  std::string send(Call call, const Client& client = Client()) {
    std::string outcome;
    const Handle handle = Client(client).send(std::move(call)).then([&](const auto& result) {
      outcome += words(result);
    });
    library_.runUntil([&] { return !outcome.empty(); });
    library_.run();
    return outcome;
  }

  platform::HeadlessLibrary library_;
};

TEST_F(ClientCall, HasOneOutcome) {
  const struct {
    Call call;
    std::function<void(platform::ScriptedAnswers)> script;
    std::string outcome;
  } cases[] = {
      {{}, [](auto a) { a.answer("[1]"); }, "200 [1]"},
      {{}, [](auto a) { a.answer("", 204); }, "204 "},
      {{}, [](auto a) { a.answer("\xff"); }, "answer is not UTF-8 (200): The answer is no UTF-8"},
      {{}, [](auto a) { a.answer("no", 403); }, "refused (403): The server refused the call"},
      {{}, [](auto a) { a.answer("", 302); }, "refused (302): The server refused the call"},
      {{}, [](auto a) { a.fail("cut"); }, "no connection: cut"},
      {{.method = HttpMethod::POST, .payload = "{}"}, [](auto a) { a.answer("ok"); }, "200 ok"},
      {{.method = HttpMethod::DELETE}, [](auto a) { a.answer("ok"); }, "200 ok"},
      {{.method = static_cast<HttpMethod>(7)}, {}, "invalid call: There is no such method"},
      {{.responseType = static_cast<ContentFormat>(2)},
       {},
       "invalid call: There is no such format"},
      {{.payload = "x"}, {}, "invalid call: GET and DELETE have parameters and no payload"},
      {{.parameters = {{"\xff", "x"}}}, {}, "invalid call: A parameter's name is no UTF-8"},
      {{.method = HttpMethod::PUT, .parameters = {{"a", "b"}}},
       {},
       "invalid call: POST and PUT have a payload and no parameters"},
      {{.method = HttpMethod::PUT, .payload = "x", .upload = Upload{"/etc/hostname"}},
       {},
       "invalid call: A call has a payload or a file"},
      {{.method = HttpMethod::POST, .upload = Upload{"/missing"}},
       {},
       "invalid call: The file cannot be read: /missing"},
      {{.method = HttpMethod::POST, .upload = Upload{"/proc/self/mem"}}, // opens, but has no page 0
       {},
       "invalid call: The file cannot be read: /proc/self/mem"},
      {{.method = HttpMethod::POST, .upload = Upload{std::string("/etc/passwd\0", 12)}},
       {},
       std::string("invalid call: The file cannot be read: /etc/passwd\0", 51)},
  };
  int i = 0;
  for (const auto& [call, script, outcome] : cases) {
    Call sent = call;
    sent.url = kUrl + std::to_string(i++);
    if (script) script(on(sent.url));
    EXPECT_EQ(send(sent), outcome);
    EXPECT_EQ(library_.http->received("", sent.url).size(), script ? 1U : 0U) << outcome;
    EXPECT_EQ(words(Client().send(sent).wait()), outcome);
  }
  EXPECT_EQ(send({}), "invalid call: The call has no address");
}

TEST_F(ClientCall, SendsWhatWasDescribedAndNothingWithoutAWholeKey) {
  on().answer("ok");
  EXPECT_EQ(send({.url = kUrl, .parameters = {{"keyword", "서울역"}, {"flag", std::nullopt}}}),
            "200 ok");
  const auto request = library_.http->received("GET", kUrl).back();
  EXPECT_EQ(request.parameters.at("keyword"), "서울역");
  EXPECT_EQ(request.parameters.count("flag"), 1U);
  EXPECT_THAT(request.url, HasSubstr("places.json?enc="));
  for (const char* name : {"swap_key", "client_id", "access_token", "refresh_token", "Accept"})
    EXPECT_TRUE(request.headerFields.get(name)) << name;

  const std::string keyUrl(VORNEL_URL_OAUTH_PARAM_ENC_KEY);
  for (const char* key : {"", "{}", R"({"body":{"key":"short","iv":"0123456789abcdef"}})",
                          R"({"body":{"key":"0123456789abcdef0123456789abcdef","iv":"short"}})"}) {
    library_.http->on("POST", keyUrl).answer(key);
    EXPECT_THAT(send({.url = kUrl}), HasSubstr("no key for the parameters")) << key;
  }
  library_.http->on("POST", keyUrl).fail("cut");
  EXPECT_EQ(send({.url = kUrl}), "no key for the parameters: cut");
  EXPECT_EQ(library_.http->received("", kUrl).size(), 1U);
}

TEST_F(ClientCall, ReissuesAheadOfTheEndUnlessThatIsSwitchedOff) {
  on().answer("ok");
  library_.clock->advance(3550s);
  EXPECT_EQ(send({.url = kUrl}, Client({.reissuesBeforeExpiry = false})), "200 ok");
  EXPECT_EQ(library_.http->received("GET", VORNEL_URL_OAUTH_ACCESS).size(), 0U);
  EXPECT_EQ(send({.url = kUrl}), "200 ok");
  EXPECT_EQ(library_.http->received("GET", VORNEL_URL_OAUTH_ACCESS).size(), 1U);

  // Tokens whose life is short or unknown are not reissued before every call.
  auto tokens = library_.http->on("GET", std::string(VORNEL_URL_OAUTH_ACCESS));
  tokens.answer(R"({"access_token":"a","expires_in":30})");
  tokens.answer(R"({"access_token":"a","expires_in":"soon"})");
  for (const std::size_t reissues : {2U, 3U}) {
    library_.clock->advance(3550s);
    send({.url = kUrl});
    send({.url = kUrl});
    EXPECT_EQ(library_.http->received("GET", VORNEL_URL_OAUTH_ACCESS).size(), reissues);
  }
}

TEST_F(ClientCall, KeepsToTheSessionWhateverHappensToIt) {
  // The reissue of one session holds up none of the next one's calls.
  library_.http->on("GET", std::string(VORNEL_URL_OAUTH_ACCESS))
      .after(5s)
      .answer(R"({"error":"invalid_grant"})", 400)
      .answer(R"({"access_token":"new"})");
  on().answer([](const platform::ReceivedRequest& request) {
    const bool isNew = request.headerFields.get("access_token") == "new";
    return HttpResult{.response = platform::HttpResponse{isNew ? 200 : 401}};
  });
  Client().send({.method = HttpMethod::POST, .url = kUrl}).then([](const auto&) {}).detach();
  library_.run();
  library_.signIn();
  EXPECT_EQ(send({.method = HttpMethod::POST, .url = kUrl}), "200 ");

  // A call that was waiting for its key when the tokens went is not sent without them.
  library_.http->on("POST", std::string(VORNEL_URL_OAUTH_PARAM_ENC_KEY))
      .after(1s)
      .answer(R"({"body":{"key":"0123456789abcdef0123456789abcdef","iv":"0123456789abcdef"}})");
  std::string outcome;
  const Handle handle =
      Client().send({.url = kUrl}).then([&](const auto& r) { outcome = words(r); });
  (void)Client().signOut().wait();
  library_.advance(1s);
  EXPECT_EQ(outcome, "signed out: Nobody is signed in");
}

TEST_F(ClientCall, EndsAsSignedOutWhenTheTokensAreRefused) {
  on().answer("expired", 401);
  EXPECT_EQ(send({.url = kUrl}, Client({.reissuesAfter401 = false})),
            "refused (401): The server refused the call");
  EXPECT_EQ(send({.url = kUrl}), "refused (401): The server refused the call"); // with new tokens
  std::vector<SessionEvent> events;
  const Handle observer = Client().onSession([&](SessionEvent event) { events.push_back(event); });
  auto tokens = library_.http->on("GET", std::string(VORNEL_URL_OAUTH_ACCESS));
  tokens.fail("cut")
      .answer("later", 503)
      .answer("<p>", 401)
      .answer(R"({"error":"invalid_grant"})", 400);
  EXPECT_EQ(send({.url = kUrl}), "no connection: cut");
  EXPECT_EQ(send({.url = kUrl}), "refused (503): The server refused the call");
  EXPECT_EQ(send({.url = kUrl}), "refused (401): The server refused the call"); // a proxy's page
  EXPECT_THAT(send({.url = kUrl}), HasSubstr("signed out: "));
  EXPECT_THAT(send({.url = kUrl}), HasSubstr("signed out: "));
  EXPECT_THAT(events, ElementsAre(SessionEvent::SessionLost));
  EXPECT_EQ(library_.http->received("GET", VORNEL_URL_OAUTH_ACCESS).size(), 5U);
  EXPECT_FALSE(library_.store->saved().empty()); // nothing is deleted

  OAuthInfo::sharedInstance().setAccessToken("");
  EXPECT_EQ(send({.url = kUrl}), "signed out: Nobody is signed in");
}

TEST_F(ClientCall, IsRepeatedOnlyWhenAskedForAndSafe) {
  const auto at = [](const char* name) { return std::string(kUrl) + name; };
  on(at("0")).answer(answered(503)).answer(answered(429)).fail("cut").answer("ok");
  const Retry retry{.attempts = 3, .first = 1ms, .longest = 2ms};
  EXPECT_EQ(send({.url = at("0"), .retry = retry}), "200 ok");
  on(at("1")).answer(answered(503)).answer("ok");
  EXPECT_THAT(send({.url = at("1")}), HasSubstr("(503)"));
  on(at("7")).answer(answered(404)).answer("ok");
  EXPECT_THAT(send({.url = at("7"), .retry = retry}), HasSubstr("(404)"));
  on(at("2")).answer(answered(503)).answer("ok");
  EXPECT_THAT(send({.method = HttpMethod::POST, .url = at("2"), .retry = retry}),
              HasSubstr("(503)"));
  on(at("3")).answer(answered(503, 1s)).answer("ok");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(send({.url = at("3"), .retry = retry}), "200 ok");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
  on(at("4")).answer(answered(503, 60s));
  EXPECT_THAT(send({.url = at("4"), .timeout = 10s, .retry = retry}),
              HasSubstr("(503)")); // at once, since the time would be up before
  for (const auto longest : {std::chrono::milliseconds::max(), std::chrono::milliseconds::min()}) {
    on(at("6")).answer(answered(503, std::chrono::seconds::max()));
    const Retry absurd{.attempts = 9, .first = longest, .longest = longest};
    EXPECT_THAT(send({.url = at("6"), .retry = absurd}), HasSubstr("(503)"));
  }
  on(at("5")).hang();
  EXPECT_EQ(send({.url = at("5"), .timeout = 20ms}), "timed out: The time was up");
}

TEST_F(ClientCall, MayEndInsideItsLambdaAndTellsACancel) {
  on().answer("ok");
  auto owner = std::make_shared<Handle>(); // which its own lambda keeps
  *owner = Client().send({.url = kUrl}).then([owner](const auto&) { throw 1; });
  owner.reset();
  std::vector<std::string> outcomes;
  const auto keep = [&](const Result<Answer>& result) { outcomes.push_back(words(result)); };
  Handle own;
  own = Client().send({.url = kUrl}).then([&](const Result<Answer>& result) {
    own = {};
    keep(result);
  });
  library_.run();
  EXPECT_THAT(outcomes, ElementsAre("200 ok"));
  on().hang();
  Handle cancelled = Client().send({.url = kUrl}).then(keep);
  cancelled.cancel();
  std::stop_source stop;
  stop.request_stop();
  Client().send({.url = kUrl, .stop = stop.get_token()}).then(keep).detach();
  library_.run();
  outcomes.erase(outcomes.begin());
  EXPECT_THAT(outcomes, AllOf(::testing::SizeIs(2), Each("cancelled: The caller cancelled it")));
}

TEST_F(ClientCall, AHandleEndsInAForkedChildWhileItsLambdaRunsInTheParent) {
  struct OwnThread final : platform::MainThread {
    std::jthread thread;
    void post(std::function<void()> call) override { thread = std::jthread(std::move(call)); }
  };
  on().answer("ok");
  std::latch running(1), ended(1);
  const Client client({.callbacks = std::make_shared<OwnThread>()});
  Handle handle = Client(client).send({.url = kUrl}).then([&](const auto&) {
    running.count_down();
    ended.wait();
  });
  running.wait();
  const std::jthread busy([](const std::stop_token& stop) {
    while (!stop.stop_requested())
      OAuthInfo::sharedInstance().setScope("any");
  });
  int status = 0;
  for (int i = 0; i < 20 && status == 0; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      handle.cancel();
      handle = {};
      _exit(OAuthInfo::sharedInstance().scope() ? 0 : 1);
    }
    waitpid(child, &status, 0);
  }
  EXPECT_EQ(status, 0);
  ended.count_down();
}

TEST_F(ClientCall, AForkedChildFindsTheSessionOpenWhateverItsParentsThreadsDo) {
  const Handle observer = Client().onSession([](SessionEvent) {});
  const std::jthread busy([&](const std::stop_token& end) {
    while (!end.stop_requested())
      library_.signIn();
  });
  for (int i = 0, status = 0; i < 100 && status == 0; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      (void)OAuthInfo::sharedInstance().accessToken();
      (void)OAuthInfoManager::sharedInstance().clientId();
      Client().onSession([](SessionEvent) {}).detach();
      _exit(0);
    }
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
}

/// A coroutine that its owner may destroy while it waits.
struct Routine {
  struct promise_type {
    Routine get_return_object() {
      return {std::coroutine_handle<promise_type>::from_promise(*this)};
    }
    std::suspend_never initial_suspend() { return {}; }
    std::suspend_always final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
  std::coroutine_handle<promise_type> handle;
};

Routine callOnce(Call call, int& told) {
  Client client;
  const Result<Answer> answer = co_await client.send(std::move(call));
  told += answer.has_value();
}

class ClientOverTheWire : public LibraryTest {
protected:
  void SetUp() override {
    LibraryTest::SetUp();
    signIn();
  }
  static std::string pathOf(std::string_view address) {
    return std::string(address.substr(address.find('/', std::string_view("https://").size())));
  }
  /// The targets of the requests that came for a path.
  static std::vector<std::string> received(const std::string& path) {
    std::vector<std::string> targets;
    for (const auto& request : server().received())
      if (request.path() == path) targets.push_back(request.target);
    return targets;
  }
  static void await(const std::function<bool()>& done) {
    EXPECT_TRUE(platform::GlibMainThread::runUntil(done, 60s));
  }

  const std::string keyPath_ = pathOf(VORNEL_URL_OAUTH_PARAM_ENC_KEY);
  const std::string tokenPath_ = pathOf(VORNEL_URL_OAUTH_ACCESS);
};

TEST_F(ClientOverTheWire, ManyThreadsGetTheirOwnAnswersAndUseNoRefreshTokenTwice) {
  for (const int round : {0, 1, 2}) { // with good tokens, with stale ones, and beside the old face
    EXPECT_EQ(received(tokenPath_).size(), round == 2 ? 1U : 0U);
    if (round > 0) record_.setAccessToken("stale");
    std::atomic<int> good = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 64; ++i) {
      threads.emplace_back([&, i] {
        const std::string own = "v" + std::to_string(i) + "-";
        std::vector<Pending<Answer>> calls;
        for (int j = 0; j < 4; ++j)
          calls.push_back(Client().send(
              {.url = apiUrl("/v1/echo"), .parameters = {{"own", own + std::to_string(j)}}}));
        const bool reissues = round == 2 && i % 16 == 0;
        EXPECT_TRUE(!reissues || manager_.reissueAccessToken());
        for (int j = 0; j < 4; ++j) {
          const Result<Answer> answer = std::move(calls[static_cast<std::size_t>(j)]).wait();
          good += answer && answer->body.find(own + std::to_string(j) + "\"") != std::string::npos;
        }
      });
    }
    threads.clear();
    EXPECT_EQ(good, 256);
  }
  auto reissues = received(tokenPath_);
  EXPECT_GE(reissues.size(), 5U);
  std::ranges::sort(reissues);
  EXPECT_EQ(std::ranges::adjacent_find(reissues), reissues.end());
}

TEST_F(ClientOverTheWire, AHandleThatEndsAtAnyStageTakesItsCallAlong) {
  const std::string path = "/v1/a.json";
  const struct {
    std::string path; // where all or, behind the limit of the transport, most are under way
    sandbox::Misbehaviour misbehaviour;
    std::size_t arrivals;
  } stages[] = {{keyPath_, sandbox::Misbehaviour::silent(), 0}, // being assembled, or queued
                {keyPath_, sandbox::Misbehaviour::silent(), 64},
                {path, sandbox::Misbehaviour::silent(), 64},
                {tokenPath_, sandbox::Misbehaviour::delay(50ms), 1},
                {path, sandbox::Misbehaviour::status(503), 70}, // waits for its retry
                {path, sandbox::Misbehaviour::body("ok"), 70}}; // answered
  int told = 0;
  for (const auto& stage : stages) {
    for (const std::string_view way : {"drop", "thread", "stop", "coroutine"}) {
      SCOPED_TRACE(stage.path + std::to_string(stage.arrivals).append(way));
      server().behave();
      server().clearReceived();
      server().misbehave(stage.path, stage.misbehaviour);
      if (stage.path == tokenPath_) record_.setExpiresSystime("1");
      std::stop_source stop;
      std::vector<Handle> handles;
      std::vector<Routine> routines;
      const Call call{.url = apiUrl("/v1/a"),
                      .retry = {.attempts = 1, .first = 1h, .longest = 1h},
                      .stop = stop.get_token()};
      for (int i = 0; i < 70; ++i) {
        if (way == "coroutine") {
          routines.push_back(callOnce(call, told));
        } else {
          handles.push_back(Client().send(call).then([&](const auto&) { ++told; }));
        }
      }
      while (received(stage.path).size() < stage.arrivals)
        std::this_thread::sleep_for(1ms);
      if (way == "thread") std::thread([&] { handles.clear(); }).join();
      if (way == "stop") stop.request_stop();
      if (way == "stop") await([&] { return told == 70; });
      if (way == "drop") handles.clear();
      for (const Routine& routine : routines)
        routine.handle.destroy();
      server().behave();
      EXPECT_TRUE(Client().send({.url = apiUrl("/v1/a")}).wait());
      Callbacks::letPass(1ms);
      EXPECT_EQ(std::exchange(told, 0), way == "stop" ? 70 : 0);
      EXPECT_TRUE(stage.path != keyPath_ || received(path).size() == 1);
      // Those under way were cut.
      await([&] { return stage.arrivals != 64 || server().openConnections() < 64; });
    }
  }
}

TEST_F(ClientOverTheWire, ARefreshTokenWhoseAnswerIsLostIsNotUsedAgain) {
  EXPECT_TRUE(Client().send({.url = apiUrl("/v1/echo")}).wait()); // leaves a connection open
  server().misbehave(tokenPath_, sandbox::Misbehaviour::reset());
  record_.setExpiresSystime("1");
  const Result<Answer> lost = Client().send({.url = apiUrl("/v1/echo")}).wait();
  EXPECT_EQ(lost.error().kind, Kind::NoConnection);
  EXPECT_EQ(received(tokenPath_).size(), 1U);
  // The server has replaced it: the next attempt says that the session is over, and is the last.
  server().behave();
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(Client().send({.url = apiUrl("/v1/echo")}).wait().error().kind, Kind::SignedOut);
  EXPECT_EQ(received(tokenPath_).size(), 2U);
}

} // namespace
} // namespace quarnet::test
