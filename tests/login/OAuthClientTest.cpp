#include "tests/login/LoginTest.h"

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;

using AuthorizationPages = LoginTest;
using CodeExchange = LoginTest;

TEST_F(AuthorizationPages, OnlyThePortalPageLeavesAndAFailureStaysOpen) {
  const std::string portal = server().host() + "/sso/openPage.do";
  const std::vector<std::string> leaving = {"https://" + portal + "?",
                                            "https://" + portal + "?a=1&b=한"};
  const std::string staying[] = {"https://" + portal,
                                 "HTTPS://" + portal + "?a=1",
                                 "http://" + portal + "?a=1",
                                 " https://" + portal + "?a=1",
                                 "oauths://host/x",
                                 "OAUTH://host/x",
                                 "oauths:/",
                                 "oauth:/",
                                 "about:blank",
                                 ""};
  const auto page = open();
  log_->clear();
  for (const std::string& url : leaving)
    EXPECT_FALSE(page->navigate(url)) << url;
  for (const std::string& url : staying)
    EXPECT_TRUE(page->navigate(url)) << url;
  EXPECT_EQ(toolkit_->openedExternally(), leaving);
  EXPECT_EQ(log_->lines().size(), leaving.size() + std::size(staying));
  EXPECT_EQ(log_->lines().at(1),
            "-[OAuthClient webView:shouldStartLoadWithRequest:navigationType:], URL : " +
                leaving[1]);

  page->fail({.description = "no connection", .userInfo = "{url=x}"});
  EXPECT_EQ(log_->lines().back(), "웹뷰 로딩 에러 : no connection {url=x}");
  EXPECT_EQ(overlays(), 1U);
  EXPECT_TRUE(toolkit_->alerts().empty());
}

TEST_F(AuthorizationPages, AnErrorIsKeptAndShownAndItsAlertClosesTheScreen) {
  const struct {
    std::string query, title, message;
    Text error, description;
  } cases[] = {
      {"error=access_denied&error_description=User%20denied", "access_denied", "User denied",
       std::nullopt, "User%20denied"},
      {"error=e&e=why&error_description=a+b&x=1", "e", "a+b", "why", "a+b"},
      {"error=%EC%98%A4&error_description=%ED%95%9C", "%EC%98%A4", "한", std::nullopt, "%ED%95%9C"},
      {"error_description=d", "", "d", std::nullopt, "d"},
      {"(null)=n&error_description=d", "", "d", "n", "d"},
      {"error=&error_description=%zz", "", "", "", "%zz"},
      {"error_description", "", "", std::nullopt, std::nullopt}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.query);
    manager_.setError("before");
    manager_.setErrorDesc("before");
    const std::string url = apiUrl("/oauth/error?" + one.query);
    const auto page = open();
    for (int again = 0; again < 2; ++again)
      page->finish(url); // one alert for all
    EXPECT_EQ(log_->lines().back(), "요청 완료된 URL : " + url);
    ASSERT_EQ(toolkit_->alerts().size(), 1U);
    EXPECT_EQ(toolkit_->alerts()[0].title, one.title);
    EXPECT_EQ(toolkit_->alerts()[0].message, one.message);
    EXPECT_EQ(toolkit_->alerts()[0].button, "확인");
    EXPECT_EQ(manager_.error(), one.error);
    EXPECT_EQ(manager_.errorDesc(), one.description);
    EXPECT_FALSE(closing());
    toolkit_->pressAlert();
    EXPECT_TRUE(closing());
    toolkit_->advance(500ms);
    EXPECT_EQ(overlays(), 0U);
  }
  Callbacks::letPass();
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(CodeExchange, SignsInForReal) {
  record_.setAccessToken("old");
  const auto page = open();
  const std::string code = server().issueCode("about:blank", "profile");
  log_->clear();
  page->finish(completionUrl(code));
  ASSERT_TRUE(app_.waitFor(1));

  EXPECT_EQ(manager_.code(), code);
  EXPECT_TRUE(server().tokenIsLive(*record_.accessToken()));
  const std::string answer = client_->result().value_or("");
  EXPECT_TRUE(app_.heard[0].finished);
  EXPECT_EQ(app_.heard[0].result, outcome("", "", answer));
  const auto received = server().received();
  ASSERT_EQ(received.size(), 1U);
  EXPECT_EQ(received[0].method, "GET");
  EXPECT_THAT(
      log_->lines(),
      ElementsAre("요청 완료된 URL : " + completionUrl(code),
                  "OAuth AccessToken URL : " + apiUrl(received[0].target), "result : " + answer,
                  "accessToken : old", "accessToken : " + *record_.accessToken(),
                  "Exfire Time : 3600", "OAuth Info", record_.getWholeInfo(),
                  "-[OAuthClient webView:shouldStartLoadWithRequest:navigationType:], URL : "
                  "about:blank"));
  EXPECT_EQ(record_.expiresSystime(), "721696400250"); // since 2001
  EXPECT_EQ(storedFields(), fields());
}

TEST_F(CodeExchange, EveryAnswerHasItsOutcome) {
  const std::pair<Misbehaviour, Text> cases[] = {
      {Misbehaviour::body(R"({"access_token":"A","more":[1]})"), "A"},
      {Misbehaviour::body(R"({"error":"invalid_grant"})"), "(null)"},
      {Misbehaviour::body("[1]"), "(null)"},
      {Misbehaviour::body(R"({"access_token":nil})"), "(null)"},
      {Misbehaviour::page(), "(null)"},
      {Misbehaviour::utf8(), "(null)"},
      {Misbehaviour::status(503), "(null)"},
      {Misbehaviour::reset(), "before"},
      {Misbehaviour::cut(5), "before"}};
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& [answer, token] = cases[i];
    const bool finishes = token != "before";
    server().behave();
    server().misbehave("/oauth/token", answer);
    record_.setAccessToken("before");
    manager_.saveOAuthInfo();
    app_.heard.clear();
    open()->finish(completionUrl("any"));
    ASSERT_TRUE(app_.waitFor(1));
    EXPECT_EQ(app_.heard[0].finished, finishes);
    EXPECT_EQ(record_.accessToken(), token);
    EXPECT_EQ(storedFields(), fields());
    EXPECT_EQ(closing(), finishes);
    const ResultDictionary& result = app_.heard[0].result;
    if (finishes) {
      EXPECT_EQ(result, resultDictionary("", "", client_->result()));
    } else {
      EXPECT_NE(result.at("RM"), "");
      EXPECT_EQ(result, outcome("", result.at("RM"), ""));
      EXPECT_EQ(log_->lines().back(), "Error = " + result.at("RM"));
      client_->closeLoginView();
    }
    toolkit_->advance(500ms);
  }
  EXPECT_EQ(app_.onWrongThread, 0);
}

TEST_F(CodeExchange, AnEmptyAnswerIsNone) {
  server().misbehave("/oauth/token", Misbehaviour::empty());
  open()->finish(completionUrl("any"));
  const auto isLogged = [this] { return log_->count("Nothing was downloaded.") > 0; };
  EXPECT_TRUE(platform::GlibMainThread::runUntil(isLogged, 10s));
  Callbacks::letPass();
  EXPECT_FALSE(closing());
  EXPECT_EQ(record_.accessToken(), std::nullopt);
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(CodeExchange, RunsForEveryCompletionBeforeAnErrorIsShown) {
  const auto page = open();
  const std::string both =
      apiUrl("/access_complete_mobile?barcode=1&code=2&error=e&error_description=d");
  log_->clear();
  page->finish(both);
  EXPECT_EQ(manager_.code(), "1"); // the first "code=" in the address
  EXPECT_EQ(toolkit_->alerts().size(), 1U);
  page->finish(both);
  page->finish(apiUrl("/access_complete_mobile"));
  EXPECT_EQ(manager_.code(), std::nullopt);
  page->finish(apiUrl("/Access_Complete_Mobile?code=3"));
  EXPECT_TRUE(app_.waitFor(3));
  EXPECT_EQ(tokenRequests(), 3U);
}

TEST_F(CodeExchange, ALateAnswerIsKeptAndReportedWhenTheScreenIsGone) {
  server().misbehave("/oauth/token", Misbehaviour::delay(200ms));
  open()->finish(completionUrl(server().issueCode()));
  client_->closeLoginView();
  toolkit_->advance(500ms);
  const std::weak_ptr<OAuthClient> gone = client_;
  client_.reset();
  manager_.init();
  EXPECT_FALSE(gone.expired());
  ASSERT_TRUE(app_.waitFor(1));
  EXPECT_TRUE(app_.heard[0].finished);
  EXPECT_TRUE(server().tokenIsLive(stored("access_token").value_or("")));
  EXPECT_TRUE(platform::GlibMainThread::runUntil([&] { return gone.expired(); }, 10s));
}

} // namespace
} // namespace quarnet::test
