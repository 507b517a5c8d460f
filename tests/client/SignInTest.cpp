#include "tests/client/HeldAnswers.h"
#include "tests/login/LoginTest.h"

#include "quarnet/client/Client.h"

#include <atomic>
#include <condition_variable>
#include <random>

namespace quarnet::test {
namespace {

using platform::GlibMainThread;
using platform::HttpFailure;
using platform::HttpResult;
using Event = SessionEvent;

/// A store that does not answer while it is shut.
struct SlowStore final : platform::UserDefaults {
  explicit SlowStore(std::shared_ptr<UserDefaults> store) : inner(std::move(store)) {}
  std::shared_ptr<UserDefaults> inner;
  std::mutex mutex;
  std::condition_variable changed;
  bool isShut = false;
  std::function<void()> onSave, onSet; // once

  void shut(bool now) {
    const std::lock_guard lock(mutex);
    isShut = now;
    changed.notify_all();
  }
  void wait() {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, 30s, [this] { return !isShut; });
  }
  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) override {
    wait();
    return inner->values(keys);
  }
  void setValues(std::span<const Entry> entries) override {
    if (const auto happens = std::exchange(onSet, nullptr)) happens();
    inner->setValues(entries);
  }
  void synchronize() override {
    if (const auto happens = std::exchange(onSave, nullptr)) happens();
    wait();
    inner->synchronize();
  }
};

HttpResult answered(std::string body, long status = 200) {
  return {platform::HttpResponse{status}, std::move(body), std::nullopt};
}
HttpResult failed(HttpFailure failure) {
  return {std::nullopt, "", Error{.description = "no way"}, failure};
}
HttpResult tokens(const std::string& name) {
  return answered(R"({"access_token":")" + name + R"(","refresh_token":"r)" + name +
                  R"(","expires_in":3600})");
}
HttpResult refusal() {
  return answered(R"({"error":"invalid_grant","error_description":"gone"})", 400);
}

std::string words(const Result<SignIn>& result) {
  static constexpr const char* names[] = {"Done",    "Continued",      "Closed",
                                          "Refused", "ExchangeFailed", "NoScreen"};
  if (!result) return std::string(describe(result.error().kind));
  std::string text = names[static_cast<int>(result->ending)];
  if (!result->code.empty()) text += "|" + result->code;
  return result->text.empty() ? text : text + "|" + result->text;
}

class ClientSession : public LoginTest {
protected:
  void SetUp() override {
    LoginTest::SetUp();
    use(&platform::Platform::httpClient, http_);
    store_ = std::make_shared<SlowStore>(platform::Platform::current().userDefaults);
    use(&platform::Platform::userDefaults, store_);
    observer_ = client().onSession([this](Event event) { events_.push_back(event); });
  }
  void TearDown() override {
    observer_ = {};
    LoginTest::TearDown();
  }

  static Client client() { return Client(); }
  static void await(const std::function<bool()>& done) {
    EXPECT_TRUE(GlibMainThread::runUntil(done, 30s));
  }
  /// Leaves a session in the store alone, as a process before does, or none.
  void store(const Text& name) {
    if (name) manager_.setOAuthInfoWithJSON(tokens(*name).body);
    record_.setAccessToken(std::nullopt);
    record_.setRefreshToken(std::nullopt);
    if (!name) manager_.saveOAuthInfo();
    Callbacks::letPass(1ms);
    events_.clear();
    ended_.clear();
  }
  Handle signIn() {
    return client().signIn().then(
        [this](const Result<SignIn>& result) { ended_ += words(result); });
  }

  /// Does one step after another. A capital is the name of the tokens that the server issues.
  void play(std::string_view steps) {
    for (const char step : steps) {
      if (step >= 'A' && step <= 'Z') http_->answer(tokens({step}));
      if (step == '-') http_->answer(refusal());
      if (step == '!') http_->answer(failed(HttpFailure::NoConnection));
      if (step == '?') http_->answer(failed(HttpFailure::TimedOut));
      if (step == '5') http_->answer(answered("", 503));
      if (step == 'h') await([this] { return http_->held() == 1; });
      if (step == 'o' || step == 'g') await([this] { return overlays() == 1; });
      if (step == 'g') toolkit_->advance(500ms);
      if (step == 'p') toolkit_->titleBar()->pressRightButton();
      if (step == 'a') toolkit_->pressAlert();
      if (step == 'n') toolkit_->setKeyWindow(nullptr);
      if (step == 'w') useToolkit(toolkit_ = std::make_shared<HeadlessToolkit>());
      if (step == 'd') showDenial();
      if (step != 'c') continue;
      for (int twice = 0; twice < 2; ++twice) // a code is exchanged once
        toolkit_->webView()->finish(completionUrl("c"));
      EXPECT_EQ(http_->held(), 1U);
    }
  }
  void showDenial() {
    toolkit_->webView()->finish(
        apiUrl("/?error=access_denied&error_description=User+said%20n%C3%B6"));
    Callbacks::letPass(5ms);
    EXPECT_EQ(ended_, "");
  }

  std::shared_ptr<HeldAnswers> http_ = std::make_shared<HeldAnswers>();
  std::shared_ptr<SlowStore> store_;
  std::vector<Event> events_;
  Handle observer_;
  std::string ended_;
};

TEST_F(ClientSession, EverySignInHasItsEnding) {
  constexpr auto in = Event::SignedIn, on = Event::Continued, again = Event::Reissued,
                 lost = Event::SessionLost;
  const std::string denied = "Refused|access_denied|User said nö";
  const std::string refused =
      "The server does not reissue the tokens any more: invalid_grant (gone)";
  const struct {
    Text stored;
    std::string steps, ending;
    std::vector<Event> events;
    Text token;
  } cases[] = {
      {{}, "gcA", "Done", {in}, "A"},
      {"old", "B", "Continued", {again, on}, "B"},
      {"old", "!", "no connection", {}, "old"},
      {"old", "?", "timed out", {}, "old"},
      {"old", "5", "refused", {}, "old"},
      {"old", "-gp", "Closed", {lost}, "old"},
      {"old", "-gcC", "Done", {lost, in}, "C"},
      {"old", "-gc-", "ExchangeFailed|invalid_grant|gone", {lost}, "old"},
      {{}, "op", "Closed", {}, {}},
      {{}, "gp", "Closed", {}, {}},
      {{}, "gcpD", "Closed", {}, {}},
      {{}, "gw", "Closed", {}, {}},
      {{}, "gda", denied, {}, {}},
      {{}, "gdp", denied, {}, {}},
      {{}, "gc!", "ExchangeFailed|no way", {}, {}},
      {{}, "gc5", "ExchangeFailed|The server's answer (503) holds no tokens", {}, {}},
      {{}, "n", "NoScreen|There is no window to show the login screen in", {}, {}},
      {"old", "n-", "NoScreen|" + refused, {lost}, "old"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.steps);
    store(std::nullopt);
    if (one.stored) store(one.stored);
    const Handle handle = signIn();
    play(one.steps);
    await([&] { return !ended_.empty(); });
    Callbacks::letPass(5ms);
    EXPECT_EQ(ended_, one.ending);
    EXPECT_EQ(events_, one.events);
    EXPECT_EQ(record_.accessToken(), one.token);
    EXPECT_EQ(stored("access_token"), one.token);
    toolkit_->advance(500ms);
    EXPECT_EQ(overlays(), 0U);
  }
}

TEST_F(ClientSession, WhoLeavesAtAnyStageIsNotSignedIn) {
  const struct {
    Text stored;
    std::string before, after;
    Text token; // a reissue is made for all and is taken over; a sign-in is not
  } cases[] = {{"old", "", "", "old"}, {"old", "h", "L", "L"}, {{}, "o", "", {}},
               {{}, "g", "", {}},      {{}, "gd", "a", {}},    {{}, "gc", "L", {}},
               {{}, "gc-", "", {}}};
  for (const int way : {0, 1, 2}) {
    for (const auto& one : cases) {
      SCOPED_TRACE(one.before + std::to_string(way));
      store(std::nullopt);
      if (one.stored) store(one.stored);
      store_->shut(one.before.empty());
      Handle handle = signIn();
      play(one.before);
      if (way == 0) handle = {};
      if (way == 1) std::thread([&] { handle = {}; }).join();
      if (way == 2) handle.cancel();
      store_->shut(false);
      play(one.after);
      Callbacks::letPass(10ms);
      toolkit_->advance(500ms);
      EXPECT_EQ(overlays(), 0U);
      const bool isLate = one.before == "gc-";
      EXPECT_EQ(ended_, way < 2 ? "" : isLate ? "ExchangeFailed|invalid_grant|gone" : "cancelled");
      EXPECT_EQ(stored("access_token"), one.token);
      EXPECT_EQ(http_->held(), 0U);
    }
  }
}

TEST_F(ClientSession, OneScreenServesAllWhoAsk) {
  std::vector<Handle> handles;
  for (int i = 0; i < 3; ++i)
    handles.push_back(signIn());
  play("g");
  handles[0] = {};
  handles.push_back(signIn());
  play("ocA");
  await([&] { return ended_ == "DoneDoneDone"; });
  EXPECT_EQ(events_, (std::vector{Event::SignedIn}));
}

TEST_F(ClientSession, ManyThreadsSignInAndOutAndLeaveNothingBehind) {
  std::atomic<int> running = 4;
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < 4; ++seed) {
    threads.emplace_back([&running, seed] {
      std::minstd_rand random(seed);
      const auto pause = [&] { std::this_thread::sleep_for(random() % 500 * 1us); };
      for (int i = 0; i < 100; ++i) {
        Pending<SignIn> pending = client().signIn();
        client().signOut().detach();
        if (random() % 2 != 0) pause();
        if (random() % 3 != 0) pending.cancel();
        const Handle handle = std::move(pending).then([](const Result<SignIn>&) {});
        if (random() % 2 != 0) pause();
      }
      --running;
    });
  }
  const auto screenIsGone = [&] {
    toolkit_->advance(100ms);
    return running == 0 && overlays() == 0;
  };
  await(screenIsGone);
  for (std::thread& thread : threads)
    thread.join();
  Callbacks::letPass(20ms);
  await(screenIsGone);
}

TEST_F(ClientSession, ASignOutDropsTheTokensWhateverHappens) {
  const struct {
    bool isKept;
    HttpResult answer;
    SignOut::Ending ending;
  } cases[] = {{true, answered(R"({"result":"success"})"), SignOut::Ending::Confirmed},
               {false, answered("{}", 400), {}},
               {true, answered("{}", 400), SignOut::Ending::NotConfirmed},
               {true, failed(HttpFailure::NoConnection), SignOut::Ending::NotConfirmed}};
  for (const auto& one : cases) {
    store("old");
    store_->shut(true); // the caller does not wait for it
    std::optional<SignOut> ended;
    Handle handle = client().signOut().then([&](Result<SignOut> result) { ended = *result; });
    if (!one.isKept) handle = {};
    store_->shut(false);
    EXPECT_NE(http_->answer(one.answer).find("token=old"), std::string::npos);
    EXPECT_EQ(record_.accessToken(), "");
    EXPECT_EQ(stored("refresh_token"), "");
    await([&] { return !one.isKept || (ended && ended->ending == one.ending); });
    Callbacks::letPass(1ms);
    EXPECT_EQ(events_, std::vector{Event::SignedOut});
  }
  EXPECT_EQ(client().signOut().wait()->ending, SignOut::Ending::NothingToDo);
}

TEST_F(ClientSession, AReissueDoesNotBringBackWhatWasSignedOut) {
  for (const char* const answers : {"N-o", "--o"}) { // of the reissue, then of the sign-out
    store("old");
    Handle in = signIn();
    play("h");
    client().signOut().detach();
    await([&] { return http_->held() == 2; });
    play(answers); // the session that was to be taken up is gone
    EXPECT_EQ(record_.accessToken(), "");
    EXPECT_EQ(stored("access_token"), "");
    in = {};
    Callbacks::letPass(5ms);
    toolkit_->advance(500ms);
    EXPECT_EQ(events_, (std::vector{Event::SignedOut}));
  }
}

TEST_F(ClientSession, WhatAnotherProcessHadReissuedServes) {
  store("old");
  const std::shared_ptr<platform::UserDefaults> file = store_->inner;
  const auto saveElsewhere = [&](const std::string& name) {
    const std::string refresh = "r" + name;
    const platform::UserDefaults::Entry entries[] = {{"access_token", name},
                                                     {"refresh_token", refresh}};
    file->setValues(entries);
  };
  Handle in = signIn();
  play("h");
  saveElsewhere("A");
  play("-"); // it came too late with the token that the other one used
  await([this] { return ended_ == "Continued"; });
  EXPECT_EQ(record_.refreshToken(), "rA");
  saveElsewhere("B");
  auto call = client().send({.method = HttpMethod::POST, .url = apiUrl("/v1/a")});
  play("h");
  http_->answer(answered("", 401));
  play("h");
  EXPECT_EQ(record_.accessToken(), "B"); // without a reissue of its own
  http_->answer(answered("{}"));
  EXPECT_TRUE(std::move(call).wait());
  await([&] { return events_ == std::vector{Event::Reissued, Event::Continued, Event::Reissued}; });
}

TEST_F(ClientSession, BothFacesReissueInTurns) {
  store("old");
  http_->body = tokens("B").body;
  http_->onSynchronousSend = [](const std::string& url) {
    EXPECT_NE(url.find("refresh_token=rA"), std::string::npos);
  };
  Handle in = signIn();
  play("h");
  std::thread other([this] { EXPECT_TRUE(manager_.reissueAccessToken()); });
  std::this_thread::sleep_for(20ms);
  play("A");
  other.join();
  await([this] { return ended_ == "Continued"; });
  for (const bool isAnswered : {true, false}) { // one reissue serves both, if it brings tokens
    ended_.clear();
    http_->body = isAnswered ? tokens("D").body : "";
    http_->onSynchronousSend = [&](const std::string&) {
      in = signIn();
      std::this_thread::sleep_for(20ms);
      EXPECT_EQ(http_->held(), 0U);
    };
    EXPECT_EQ(manager_.reissueAccessToken(), isAnswered);
    if (!isAnswered) play("C");
    await([this] { return ended_ == "Continued"; });
    EXPECT_EQ(http_->held(), 0U);
  }
}

TEST_F(ClientSession, NothingUsesTokensThatAreNotSavedYet) {
  store("old");
  http_->body = tokens("A").body;
  for (const bool isClients : {false, true}) {
    manager_.restoreOAuthInfo();
    std::vector<Pending<Answer>> calls;
    const auto callBefore = [&] {
      const Call call{.method = HttpMethod::POST, .url = apiUrl("/v1/a")};
      calls.push_back(client().send(call));
      clock_->now = clock_->now + 3590; // a reissue would come first
      calls.push_back(client().send(call));
      EXPECT_EQ(http_->held(), 0U);
    };
    store_->onSave = [&] { // a store may let another save wait, and no call with it
      store_->onSet = callBefore;
      manager_.saveOAuthInfo();
    };
    const Handle in = isClients ? signIn() : Handle();
    if (isClients) play("B");
    if (!isClients) manager_.reissueAccessToken();
    await([this] { return http_->held() == 2; });
    play("CDE");
    for (Pending<Answer>& call : calls)
      EXPECT_TRUE(std::move(call).wait());
  }
}

TEST_F(ClientSession, TheClassesOfBeforeTellWhatTheyDo) {
  const auto expect = [&](std::vector<Event> events) {
    Callbacks::letPass(5ms);
    EXPECT_EQ(events_, events);
    events_.clear();
  };
  store("old");
  http_->body = tokens("A").body;
  manager_.login();
  expect({Event::Reissued, Event::Continued});
  EXPECT_TRUE(manager_.reissueAccessToken());
  expect({Event::Reissued});
  http_->body = refusal().body;
  http_->status = 400;
  EXPECT_FALSE(manager_.reissueAccessToken());
  manager_.login(); // the screen opens
  expect({Event::SessionLost});
  manager_.logout();
  expect({}); // not confirmed
  client_->readUrl("https://h/");
  http_->answer(tokens("B"));
  expect({Event::SignedIn});
  toolkit_->advance(500ms);
  client_->readUrl("https://h/");
  http_->answer(refusal());
  expect({Event::SignedOut}); // taken for a token answer
  store("C");
  manager_.restoreOAuthInfo();
  http_->body = "success";
  manager_.logout();
  manager_.logout();
  expect({Event::SignedOut});
  store("D");
  manager_.restoreOAuthInfo();
  manager_.revokeTokenToServerAsynch();
  http_->answer(refusal());
  expect({Event::SignedOut});
}

TEST_F(ClientSession, EventsComeInTheOrderOfWhatHappened) {
  http_->body = "success";
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i)
        t % 2 == 0 ? manager_.setOAuthInfoWithJSON(tokens("A").body) : manager_.logout();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  Callbacks::letPass(50ms);
  const auto twice = std::adjacent_find(events_.begin(), events_.end(), [](Event a, Event b) {
    return a == Event::SignedOut && b == Event::SignedOut;
  });
  EXPECT_EQ(twice, events_.end()); // there is nothing to drop twice
  EXPECT_EQ(std::count(events_.begin(), events_.end(), Event::Reissued), 100);
  const bool isSignedOut = events_.back() == Event::SignedOut;
  EXPECT_EQ(record_.accessToken(), isSignedOut ? "" : "A");
}

TEST_F(ClientSession, AnObserverEndsWithItsHandle) {
  const auto happen = [this] { manager_.setOAuthInfoWithJSON(tokens("A").body); };
  int inside = 0, gone = 0;
  const auto forever = std::make_shared<int>(0);
  Handle first = client().onSession([&](Event) {
    ++inside;
    first = {};
  });
  auto owned = std::make_shared<int>();
  const std::weak_ptr<int> watched = owned;
  Handle second = client().onSession([&gone, held = std::move(owned)](Event) { ++gone; });
  client().onSession([forever](Event) { ++*forever; }).detach();
  happen();
  happen();
  std::thread([&] { second = {}; }).join(); // two events are on their way
  Callbacks::letPass(5ms);
  EXPECT_EQ(inside, 1);
  EXPECT_EQ(gone, 0);
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(*forever, 2);
  EXPECT_EQ(events_.size(), 2U);
}

} // namespace
} // namespace quarnet::test
