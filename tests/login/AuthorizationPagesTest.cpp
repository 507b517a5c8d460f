#include "tests/login/LoginTest.h"

namespace quarnet::test {
namespace {

using AuthorizationPages = LoginTest;

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
