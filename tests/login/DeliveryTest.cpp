#include "tests/login/LoginTest.h"

namespace quarnet::test {
namespace {

/// Answers before the send returns, so that the outcome waits on the main thread.
struct ReadyAnswer final : platform::HttpClient {
  platform::HttpResult sendSynchronously(const platform::HttpRequest&) override {
    return {.response = platform::HttpResponse{.statusCode = 200},
            .body = R"({"access_token":"success"})",
            .error = std::nullopt};
  }
  void sendAsynchronously(std::shared_ptr<const platform::HttpRequest> request,
                          Completion completion) override {
    completion(sendSynchronously(*request));
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

/// Runs what is posted at once, after a look at how things stand.
struct AtOnce final : platform::MainThread {
  std::function<void()> look;
  void post(std::function<void()> call) override {
    look();
    call();
  }
};

class Delivery : public LoginTest {
protected:
  void SetUp() override {
    LoginTest::SetUp();
    platform::Platform services = platform::Platform::current();
    services.httpClient = std::make_shared<ReadyAnswer>();
    platform::Platform::install(services);
  }

  /// What holds of everything that an application registers with.
  template <class Registered>
  void check(Registered& registered, const std::function<void()>& call) {
    const auto listen = [&](Callbacks* target) {
      registered.set_target(target);
      registered.set_finishedSelector(&Callbacks::finished);
      registered.set_failedSelector(&Callbacks::failed);
    };
    Callbacks other;
    app_.heard.clear();
    listen(&app_);
    call();
    registered.set_target(nullptr);
    Callbacks::letPass(5ms);
    listen(&app_);
    call();
    listen(&other);
    Callbacks::letPass(5ms);
    EXPECT_TRUE(app_.heard.empty() && other.heard.empty());

    auto page = std::make_unique<Callbacks>();
    listen(page.get());
    call();
    listen(nullptr);
    page.reset();
    Callbacks::letPass(5ms);

    listen(&app_);
    call();
    registered.set_finishedSelector(&Callbacks::failed);
    ASSERT_TRUE(app_.waitFor(1));
    EXPECT_FALSE(app_.heard[0].finished); // what is registered by now
    call();
    registered.set_finishedSelector(nullptr);
    Callbacks::letPass(5ms);
    EXPECT_EQ(app_.heard.size(), 1U);

    Leaver<Registered> leaver{registered};
    registered.set_target(&leaver);
    registered.set_finishedSelector(&Leaver<Registered>::called);
    call();
    call();
    Callbacks::letPass(5ms);
    EXPECT_EQ(leaver.heard, 1);
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

TEST_F(Delivery, ComesWhenTheTokensAreSavedAndTheScreenCloses) {
  struct Moment {
    Text inMemory, inStore;
    bool closing;
    bool operator==(const Moment&) const = default;
  };
  std::vector<Moment> posts;
  const auto mainThread = std::make_shared<AtOnce>();
  mainThread->look = [&] {
    posts.push_back({record_.accessToken(), stored("access_token"), closing()});
  };
  platform::Platform services = platform::Platform::current();
  services.mainThread = mainThread;
  platform::Platform::install(services);

  open();
  client_->readUrl("https://h/");
  EXPECT_THAT(posts, ElementsAre(Moment{"success", "success", false}, // the closing
                                 Moment{"success", "success", true}));
  posts.clear();
  manager_.logoutFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  EXPECT_THAT(posts, ElementsAre(Moment{"", "", true}));
  EXPECT_EQ(app_.heard.size(), 2U);
}

} // namespace
} // namespace quarnet::test
