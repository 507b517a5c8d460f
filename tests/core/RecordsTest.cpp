#include "quarnet/quarnet.h"

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
  EXPECT_EQ(makeError(7), (Error{"VornelError007", 7, "Received data is empty"}));
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

struct Listener {
  std::string heard;
  void finished(const ResultDictionary& result) { heard = "finished " + result.at("RC"); }
  virtual void failed(const ResultDictionary&) {}
  virtual ~Listener() = default;
};
struct LoudListener : std::string, Listener { // the base is not at the object's own address
  void failed(const ResultDictionary& result) override { heard = "FAILED " + result.at("RC"); }
};

TEST(Callbacks, ReachTheOperationsOfTheTargetsClassAndItsBases) {
  LoudListener listener;
  const CallbackTriple both =
      makeCallback(&listener, &LoudListener::finished, &LoudListener::failed);
  both.finished(both.target, {{"RC", "1"}});
  EXPECT_EQ(listener.heard, "finished 1");
  both.failed(both.target, {{"RC", "2"}});
  EXPECT_EQ(listener.heard, "FAILED 2");
  EXPECT_FALSE(makeCallback(&listener, nullptr, &LoudListener::failed).finished);
}

} // namespace
} // namespace quarnet
