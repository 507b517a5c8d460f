#include "tests/support/Callbacks.h"

#include <gtest/gtest.h>

namespace quarnet {
namespace {

TEST(Records, KeepTheHeaderValuesThatWereGivenLast) {
  RequestBundle bundle;
  bundle.setAppId("one");
  bundle.setAppId("two");
  EXPECT_EQ(bundle.header(), (Dictionary{{"appId", "two"}}));
  bundle.setAppId(std::nullopt);
  EXPECT_EQ(bundle.header(), Dictionary{});

  HttpHeader header;
  header.putValue("a", "1");
  header.putValue("b", "2");
  EXPECT_EQ(header.headerDic(), (Dictionary{{"b", "2"}}));
  EXPECT_EQ(header.get("a"), std::nullopt);
  EXPECT_EQ(header.get("b"), "2");
  EXPECT_TRUE(header.getHeader().empty());
  EXPECT_EQ(header.get("b"), std::nullopt);
}

TEST(Records, ErrorsOfNoKnownKindHaveNoMessage) {
  EXPECT_EQ(makeError(8), (Error{"VornelError008", 8, std::nullopt}));
  EXPECT_EQ(makeError(0).description, std::nullopt);
}

TEST(Hosts, MoveTheAddressesAndKeepSchemesAndPaths) {
  EXPECT_EQ(VORNEL_URL_OAUTH_AUTHEN, "https://api.quarnet.example/oauth/authorize");
  configureHosts({.api = "127.0.0.1:8443", .mobile = "", .portal = "portal:1"});
  EXPECT_EQ(VORNEL_URL_OAUTH_SERVER, "https://127.0.0.1:8443");
  EXPECT_EQ(VORNEL_URL_OAUTH_AUTHEN, "https://127.0.0.1:8443/oauth/authorize");
  EXPECT_EQ(VORNEL_URL_OAUTH_ACCESS, "https://127.0.0.1:8443/oauth/token");
  EXPECT_EQ(VORNEL_URL_OAUTH_REVOKE, "https://127.0.0.1:8443/oauth/expireToken");
  EXPECT_EQ(VORNEL_URL_OAUTH_PARAM_ENC_KEY, "http://127.0.0.1:8443/oauth/get_param_enc_key");
  EXPECT_EQ(VORNEL_MAIN_URL, "https://m.quarnet.example");
  EXPECT_EQ(VORNEL_URL_OAUTH_REDIRECT_URL, "portal:1/sso/openPage.do");
  configureHosts({.api = "api.quarnet.example", .portal = "portal.quarnet.example"});
}

// The base is not at the object's own address.
struct App : std::string, test::Callbacks {};

TEST(Callbacks, ReachTheOperationsOfTheTargetsBase) {
  static_assert(std::is_trivially_copyable_v<Operation>); // an unloaded plug-in's does no harm
  App app;
  const CallbackTriple both = makeCallback(&app, &App::finished, &App::failed);
  both.finished(both.target, {{"RC", "1"}});
  both.failed(both.target, {{"RC", "2"}});
  ASSERT_EQ(app.heard.size(), 2U);
  EXPECT_TRUE(app.heard[0].finished && app.heard[0].result.at("RC") == "1");
  EXPECT_TRUE(!app.heard[1].finished && app.heard[1].result.at("RC") == "2");
  EXPECT_FALSE(makeCallback(&app, nullptr, &App::failed).finished);
}

} // namespace
} // namespace quarnet
