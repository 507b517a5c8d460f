#include "tests/login/LoginTest.h"

namespace quarnet::test {
namespace {

using AuthorizationPages = LoginTest;

TEST_F(AuthorizationPages, AddressesCarryTheConfigurationEscapedWeakly) {
  EXPECT_EQ(client_->getOAuthorizationUrl(), authorizationUrl());
  EXPECT_EQ(client_->getOAccessTokenUrl(),
            apiUrl("/oauth/token?client_id=demo-client&scope=profile&redirect_uri=about:blank"
                   "&client_secret=demo-secret&code=(null)&grant_type=authorization_code"));

  manager_.setClientId("app 1");
  manager_.setScope(std::nullopt);
  manager_.setClientSecret("s&t=\"한\"");
  manager_.setCode("a+b/?;%");
  manager_.setRedirect_uri("https://h/<p>?q=1");
  EXPECT_EQ(client_->getOAuthorizationUrl(),
            apiUrl("/oauth/authorize?client_id=app%201&response_type=code&scope=(null)"
                   "&redirect_uri=https://h/%3Cp%3E?q=1"));
  const std::string url =
      apiUrl("/oauth/token?client_id=app%201&scope=(null)&redirect_uri=https://h/%3Cp%3E?q=1"
             "&client_secret=s&t=%22%ED%95%9C%22&code=a+b/?;%25&grant_type=authorization_code");
  EXPECT_EQ(client_->getOAccessTokenUrl(), url);
  EXPECT_EQ(log_->lines().back(), "OAuth AccessToken URL : " + url);
}

TEST_F(AuthorizationPages, OnlyThePortalPageLeavesAndAFailureStaysOpen) {
  const std::string portal = server().host() + "/sso/openPage.do";
  const std::pair<std::string, bool> navigations[] = {{"https://" + portal + "?", false},
                                                      {"https://" + portal + "?a=1&b=한", false},
                                                      {"https://" + portal, true},
                                                      {"HTTPS://" + portal + "?a=1", true},
                                                      {"http://" + portal + "?a=1", true},
                                                      {" https://" + portal + "?a=1", true},
                                                      {"oauths://host/x", true},
                                                      {"OAUTHS://host/x", true},
                                                      {"OAUTH://host/x", true},
                                                      {"oauths:/", true},
                                                      {"oauth:/", true},
                                                      {"about:blank", true},
                                                      {"a:", true},
                                                      {"", true}};
  const auto page = open();
  std::vector<std::string> external;
  for (const auto& [url, stays] : navigations) {
    SCOPED_TRACE(url);
    log_->clear();
    EXPECT_EQ(page->navigate(url), stays);
    EXPECT_THAT(
        log_->lines(),
        ElementsAre("-[OAuthClient webView:shouldStartLoadWithRequest:navigationType:], URL : " +
                    url));
    if (!stays) external.push_back(url);
  }
  EXPECT_EQ(toolkit_->openedExternally(), external);
  EXPECT_EQ(page->vetoes(), external);

  page->fail({.description = "no connection", .userInfo = "{url=x}"});
  EXPECT_EQ(log_->lines().back(), "웹뷰 로딩 에러 : no connection {url=x}");
  EXPECT_EQ(overlays(), 1U);
  EXPECT_TRUE(toolkit_->alerts().empty());
}

TEST_F(AuthorizationPages, AnErrorIsKeptAndShownAndItsAlertClosesTheScreen) {
  struct Case {
    std::string query, title, message;
    Text error, description;
  };
  const Case cases[] = {
      {"error=access_denied&error_description=User%20denied", "access_denied", "User denied",
       std::nullopt, "User%20denied"},
      {"error=e&e=why&error_description=a+b&x=1", "e", "a+b", "why", "a+b"},
      {"error=%EC%98%A4&error_description=%ED%95%9C", "%EC%98%A4", "한", std::nullopt, "%ED%95%9C"},
      {"error_description=d", "", "d", std::nullopt, "d"},
      {"(null)=n&error_description=d", "", "d", "n", "d"},
      {"error=&error_description=%zz", "", "", "", "%zz"},
      {"error_description", "", "", std::nullopt, std::nullopt}};
  for (const Case& one : cases) {
    SCOPED_TRACE(one.query);
    manager_.setError("before");
    manager_.setErrorDesc("before");
    const std::string url = apiUrl("/oauth/error?" + one.query);
    open()->finish(url);
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

} // namespace
} // namespace quarnet::test
