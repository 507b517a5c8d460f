#include "tests/login/LoginTest.h"

namespace quarnet::test {
namespace {

using LoginScreen = LoginTest;

class Login : public LoginTest {
protected:
  void logIn() {
    log_->clear();
    server().clearReceived();
    manager_.loginFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  }
};

TEST_F(Login, AStoredTokenIsReissuedInSilence) {
  signIn();
  const std::string storedInfo = record_.getWholeInfo();
  record_.setAccessToken("in memory only");
  const std::string memoryInfo = record_.getWholeInfo();
  logIn();
  const auto lines = log_->lines();
  EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 4),
            (std::vector<std::string>{"OAuth Info", memoryInfo, "OAuth Info", storedInfo}));
  EXPECT_EQ(lines.back(), "Token Case 3 : to Success to Refresh Access Token");
  EXPECT_NE(record_.getWholeInfo(), storedInfo);
  EXPECT_TRUE(server().tokenIsLive(stored("access_token").value_or("")));
  EXPECT_EQ(overlays(), 0U);
  Callbacks::letPass();
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(Login, TheScreenOpensWithoutATokenOrWhenItIsRefused) {
  const std::pair<Text, bool> storedTokens[] = {
      {std::nullopt, false}, {"", false}, {"(null)", true}, {"revoked", true}};
  std::size_t opened = 0;
  for (const auto& [token, asks] : storedTokens) {
    SCOPED_TRACE(token.value_or("absent"));
    record_.setAccessToken(token);
    manager_.saveOAuthInfo();
    logIn();
    EXPECT_EQ(overlays(), ++opened);
    EXPECT_EQ(client_->_target(), &app_);
    EXPECT_EQ(manager_._target(), nullptr);
    EXPECT_EQ(tokenRequests(), asks ? 1U : 0U);
    EXPECT_EQ(log_->count("Token Case 2 : Refresh Token is invalid"), asks ? 1U : 0U);
    EXPECT_EQ(log_->lines().size(), asks ? 7U : 4U);
    EXPECT_EQ(stored("access_token"), token);
  }
  manager_.login();
  EXPECT_EQ(client_->_target(), nullptr);
  EXPECT_EQ(overlays(), opened + 1);
  manager_.setOAuthClient(nullptr);
  manager_.login();
  EXPECT_EQ(overlays(), opened + 1);
}

TEST_F(LoginScreen, LiesOnTheWindowAsTheSystemsVersionSays) {
  const std::pair<const char*, double> versions[] = {
      {"10.3.1", 548}, {"7", 548}, {"6.99", 568}, {"", 568}, {"beta 8", 568}};
  for (const auto& [version, height] : versions) {
    SCOPED_TRACE(version);
    toolkit_->setSystemVersion(version);
    const auto page = open();
    const HeadlessView& backdrop = *toolkit_->window()->children().at(0);
    EXPECT_EQ(backdrop.frame(), (Rect{0, 0, 320, height}));
    EXPECT_EQ(backdrop.backgroundColor(), (platform::Color{0.7, 0.7, 0.7, 1}));
    const HeadlessView& panel = *backdrop.children().at(0);
    EXPECT_EQ(panel.frame(), (Rect{0, 20, 320, height}));
    EXPECT_EQ(panel.backgroundColor(), (platform::Color{0.5, 0.5, 0.5, 1}));
    EXPECT_TRUE(panel.clipsToBounds());
    EXPECT_EQ(panel.alpha(), 1);
    EXPECT_THAT(panel.children(), ElementsAre(toolkit_->titleBar(), page));
    EXPECT_EQ(toolkit_->titleBar()->frame(), (Rect{0, 0, 320, 44}));
    EXPECT_EQ(toolkit_->titleBar()->title(), "로그인");
    EXPECT_EQ(toolkit_->titleBar()->rightButton(), "닫기");
    EXPECT_EQ(page->frame(), (Rect{0, 44, 320, height - 44}));
    EXPECT_EQ(page->backgroundColor().alpha, 0);
    EXPECT_TRUE(page->scalesPageToFit());
    EXPECT_FALSE(page->bounces());
    const auto view = client_->viewBlock();
    client_->setViewBlock(nullptr);
    client_->closeLoginView(); // which waits for the backdrop
    client_->setViewBlock(view);
    client_->closeLoginView();
    toolkit_->advance(500ms);
    EXPECT_EQ(overlays(), 0U);
  }
}

TEST_F(LoginScreen, GrowsThenLoadsAndClearsThenShrinks) {
  const std::string url = client_->getOAuthorizationUrl();
  log_->clear();
  client_->loginFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  const auto page = toolkit_->webView();
  const auto panel = toolkit_->window()->children().at(0)->children().at(0);
  EXPECT_EQ(panel->shownFrame(), (Rect{160, 274, 0, 0}));
  toolkit_->advance(250ms);
  EXPECT_EQ(panel->shownFrame(), (Rect{80, 147, 160, 274}));
  toolkit_->advance(249ms);
  EXPECT_THAT(page->loads(), ElementsAre());
  toolkit_->advance(1ms);
  EXPECT_THAT(page->loads(), ElementsAre(url));
  EXPECT_EQ(log_->count("OAuth Athorization URL : " + url), 1U);

  toolkit_->titleBar()->pressRightButton();
  toolkit_->advance(250ms);
  toolkit_->titleBar()->pressRightButton(); // closing already
  EXPECT_THAT(page->loads(), ElementsAre(url, "about:blank"));
  EXPECT_EQ(panel->frame(), (Rect{160, 274, 0, 0}));
  EXPECT_EQ(panel->shownFrame(), (Rect{80, 147, 160, 274}));
  toolkit_->advance(249ms);
  EXPECT_EQ(client_->loginView(), page);
  toolkit_->advance(1ms);
  EXPECT_EQ(overlays(), 0U);
  EXPECT_EQ(page->parent(), nullptr);
  EXPECT_FALSE(client_->loginView() || client_->bgView() || client_->viewBlock());

  log_->clear();
  client_->closeLoginView();
  page->navigate("https://h/");
  page->finish(completionUrl("late")); // the page has forgotten the screen
  EXPECT_THAT(log_->lines(), ElementsAre());
  Callbacks::letPass();
  EXPECT_TRUE(app_.heard.empty());
  EXPECT_EQ(client_->_target(), &app_);
}

TEST_F(LoginScreen, AClosedScreenTakesOnlyItsOwnViewsAlong) {
  open();
  client_->closeLoginView();
  toolkit_->advance(100ms);
  client_->loginFinishedFailed(nullptr, nullptr, nullptr);
  const auto second = toolkit_->webView();
  toolkit_->advance(400ms);
  EXPECT_EQ(overlays(), 1U);
  EXPECT_EQ(client_->loginView(), second);
  EXPECT_TRUE(client_->bgView() && client_->viewBlock());
  toolkit_->cutAnimationsShort();
  EXPECT_THAT(second->loads(), ElementsAre(client_->getOAuthorizationUrl()));

  const auto third = open();
  EXPECT_EQ(overlays(), 2U);
  client_->closeLoginView();
  toolkit_->advance(500ms);
  EXPECT_EQ(third->parent(), nullptr);
  EXPECT_EQ(toolkit_->webView(), second);
  EXPECT_EQ(overlays(), 1U);
}

TEST_F(LoginScreen, WhatHappensInOneOfTwoConcernsThatOne) {
  std::shared_ptr<platform::HeadlessTitleBar> bar;
  const std::function<void(HeadlessWebView&)> ends[] = {
      [this](HeadlessWebView& page) {
        page.finish(completionUrl(server().issueCode()));
        app_.waitFor(1);
      },
      [this](HeadlessWebView& page) {
        page.finish(apiUrl("/oauth/error?error_description=d"));
        toolkit_->pressAlert();
      },
      [&bar](HeadlessWebView&) { bar->pressRightButton(); }};
  for (const auto& end : ends) {
    const auto first = open();
    bar = toolkit_->titleBar();
    const auto second = open();
    end(*first);
    Callbacks::letPass();
    toolkit_->advance(500ms);
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_EQ(toolkit_->webView(), second);
    EXPECT_FALSE(closing());
    client_->closeLoginView();
    toolkit_->advance(500ms);
  }
  EXPECT_TRUE(app_.heard.size() == 1 && app_.heard[0].finished);
}

TEST_F(LoginScreen, OneThatIsClosedWhileItGrowsLoadsNothing) {
  client_->loginFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  const auto page = toolkit_->webView();
  toolkit_->advance(100ms);
  toolkit_->titleBar()->pressRightButton();
  toolkit_->advance(450ms); // its growth would have ended
  EXPECT_FALSE(page->navigate(apiUrl("/oauth/authorize")));
  page->finish(completionUrl("late"));
  EXPECT_THAT(page->loads(), ElementsAre("about:blank"));
  EXPECT_EQ(manager_.code(), std::nullopt);
  toolkit_->advance(50ms);
  EXPECT_EQ(overlays(), 0U);
}

TEST_F(LoginScreen, OneThatWasReplacedCanStillBeClosedAndLeavesNothing) {
  for (const bool windowGoes : {false, true}) {
    const std::weak_ptr<HeadlessWebView> page = open();
    const auto kept = windowGoes ? page.lock() : nullptr;
    if (windowGoes) open();
    const std::weak_ptr<OAuthClient> replaced = client_;
    client_.reset();
    manager_.init();
    EXPECT_FALSE(replaced.expired());
    if (windowGoes) {
      toolkit_ = std::make_shared<HeadlessToolkit>();
      useToolkit(toolkit_);
    } else {
      toolkit_->titleBar()->pressRightButton();
      toolkit_->advance(500ms);
      EXPECT_EQ(overlays(), 0U);
    }
    EXPECT_TRUE(replaced.expired());
    EXPECT_EQ(page.expired(), !windowGoes);
    EXPECT_TRUE(!kept || kept->delegate() == nullptr);
    client_ = manager_.oAuthClient();
  }
}

TEST_F(LoginScreen, WithoutAWindowOrAToolkitOneLineSaysSo) {
  log_->clear();
  toolkit_->setKeyWindow(nullptr);
  open();
  const auto page = toolkit_->makeWebView();
  useToolkit(nullptr);
  client_->loginFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  client_->closeLoginView();
  EXPECT_THAT(log_->lines(),
              ElementsAre("OAuthClient : there is no key window, the login screen cannot open",
                          "OAuthClient : there is no toolkit, the login screen cannot open"));
  page->load(apiUrl("/oauth/error?error=e&error_description=d"));
  client_->webViewDidFinishLoad(*page);
  EXPECT_EQ(manager_.errorDesc(), "d");
}

} // namespace
} // namespace quarnet::test
