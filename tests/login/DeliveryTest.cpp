#include "tests/login/LoginTest.h"
#include "tests/support/Race.h"

#include "quarnet/core/Registration.h"

namespace quarnet::test {
namespace {

/// Answers before the send returns, so that the outcome waits on the main thread.
struct ReadyAnswer final : platform::HttpClient {
  platform::HttpResult sendSynchronously(const platform::HttpRequest&) override {
    return {platform::HttpResponse{200}, R"({"access_token":"success"})", std::nullopt};
  }
  void sendAsynchronously(std::shared_ptr<const platform::HttpRequest> request,
                          Completion completion) override {
    completion(sendSynchronously(*request));
  }
};

/// Runs what is posted at once, after a look at how things stand.
struct AtOnce final : platform::MainThread {
  std::function<void()> look;
  void post(std::function<void()> call) override {
    look();
    call();
  }
};

/// Takes its registration back in the first callback.
template <class Registered>
struct Leaver {
  Registered& registered;
  int heard = 0;
  void called(const ResultDictionary&) {
    ++heard;
    registered.set_target(nullptr);
  }
};

class Delivery : public LoginTest {
protected:
  void SetUp() override {
    LoginTest::SetUp();
    use(&platform::Platform::httpClient, std::make_shared<ReadyAnswer>());
  }

  /// What holds of everything that an application registers with.
  template <class Registered>
  void check(Registered& registered, const std::function<void()>& call) {
    const auto letPass = [] { Callbacks::letPass(5ms); };
    const auto listen = [&](Callbacks* target) {
      registered.set_target(target);
      registered.set_finishedSelector(&Callbacks::finished);
      registered.set_failedSelector(&Callbacks::failed);
    };
    auto page = std::make_unique<Callbacks>();
    listen(page.get());
    call();
    listen(&app_);
    page.reset();
    letPass();
    call();
    registered.set_target(nullptr);
    listen(&app_); // as another object would that was put where the first one lay
    letPass();
    EXPECT_TRUE(app_.heard.empty()); // whoever came in its place did not ask

    call();
    registered.set_finishedSelector(&Callbacks::failed);
    ASSERT_TRUE(app_.waitFor(1));
    EXPECT_FALSE(app_.heard[0].finished); // what is registered by now
    call();
    registered.set_finishedSelector(nullptr);
    EXPECT_TRUE(!registered._finishedSelector() && registered._failedSelector());
    letPass();
    EXPECT_EQ(app_.heard.size(), 1U);
    app_.heard.clear();

    Leaver<Registered> leaver{registered};
    registered.set_target(&leaver);
    registered.set_finishedSelector(&Leaver<Registered>::called);
    call();
    call();
    letPass();
    EXPECT_EQ(leaver.heard, 1);
    call(); // nobody is to be told
    letPass();
  }
};

TEST_F(Delivery, ReachesOnlyWhoIsStillRegistered) {
  APIRequest request;
  check(request, [&] {
    RequestBundle bundle;
    bundle.setUrl("https://h/");
    bundle.setPayload("{}");
    request.aSyncRequestHTTPMethod(bundle, HttpMethod::POST);
  });
  check(*client_, [&] { client_->readUrl("https://h/"); });
  check(manager_, [&] { manager_.readUrl("https://h/"); });
}

TEST(Registration, IsNeverSeenHalfChanged) {
  Callbacks first, second;
  const CallbackTriple triples[] = {makeCallback(&first, &Callbacks::finished, nullptr),
                                    makeCallback(&second, nullptr, &Callbacks::failed)};
  Registration registration;
  const auto isWhole = [&] {
    const CallbackTriple seen = registration.current();
    const bool isFirst = seen.target == &first;
    return bool(seen.finished) == isFirst && bool(seen.failed) != isFirst;
  };
  EXPECT_EQ(halfSeen([&](int i) { registration.set(triples[i]); }, isWhole), 0);
}

TEST_F(Delivery, LeavesNoFieldHalfChanged) {
  // So long that a thread is mostly interrupted in the middle of one.
  const std::string texts[] = {std::string(100'000, 'a'), std::string(100'000, 'b')};
  APIRequest request;
  const std::pair<std::function<void(Text)>, std::function<Text()>> fields[] = {
      {[&](Text text) { manager_.setScope(text); }, [&] { return manager_.scope(); }},
      {[&](Text text) { record_.setScope(text); }, [&] { return record_.scope(); }},
      {[&](Text text) { client_->setResult(text); }, [&] { return client_->result(); }},
      {[&](Text text) { request.setResult(text); }, [&] { return request.result(); }}};
  for (const auto& [set, get] : fields) {
    const auto isWhole = [&get = get, &texts] {
      const Text seen = get();
      return seen == texts[0] || seen == texts[1];
    };
    EXPECT_EQ(halfSeen([&, &set = set](int i) { set(texts[i]); }, isWhole), 0);
  }
}

TEST_F(Delivery, ComesWhenTheTokensAreSavedAndTheScreenCloses) {
  using Moment = std::tuple<Text, Text, bool>;
  std::vector<Moment> posts;
  const auto mainThread = std::make_shared<AtOnce>();
  mainThread->look = [&] {
    posts.emplace_back(record_.accessToken(), stored("access_token"), closing());
  };
  use(&platform::Platform::mainThread, mainThread);
  open();
  client_->readUrl("https://h/");
  EXPECT_THAT(posts, ElementsAre(Moment("success", "success", false), // the closing
                                 Moment("success", "success", true)));
  posts.clear();
  manager_.logoutFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  EXPECT_THAT(posts, ElementsAre(Moment("", "", true)));
  EXPECT_EQ(app_.heard.size(), 2U);
}

} // namespace
} // namespace quarnet::test
