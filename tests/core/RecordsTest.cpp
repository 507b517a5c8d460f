#include "quarnet/quarnet.h"

#include <gtest/gtest.h>
#include <limits>

namespace quarnet {
namespace {

TEST(Records, StartWithTheirDefaults) {
  const RequestBundle bundle;
  EXPECT_EQ(bundle.httpMethod(), HttpMethod::GET);
  EXPECT_EQ(bundle.requestType(), ContentFormat::JSON);
  EXPECT_EQ(bundle.responseType(), ContentFormat::JSON);
  EXPECT_EQ(bundle.uploadFileKey(), "image");
  EXPECT_FALSE(bundle.header() || bundle.url() || bundle.parameters() || bundle.payload() ||
               bundle.uploadFilePath());
}

TEST(Records, AppIdMakesTheHeaderAndAnAbsentOneRemovesIt) {
  RequestBundle bundle;
  bundle.setAppId("one");
  bundle.setAppId("two");
  EXPECT_EQ(bundle.header(), (Dictionary{{"appId", "two"}}));
  bundle.setAppId(std::nullopt);
  EXPECT_EQ(bundle.header(), Dictionary{});
}

TEST(Records, HttpHeaderHoldsTheLastPairUntilItIsAskedForAsAWhole) {
  HttpHeader header;
  header.putValue("a", "1");
  header.putValue("b", "2");
  EXPECT_EQ(header.headerDic(), (Dictionary{{"b", "2"}}));
  EXPECT_EQ(header.get("a"), std::nullopt);
  EXPECT_EQ(header.get("b"), "2");
  EXPECT_TRUE(header.getHeader().empty());
  EXPECT_EQ(header.get("b"), std::nullopt);
}

TEST(Records, ContentTypesEndAtJson) {
  EXPECT_EQ(Global::getContentType(0), "application/xml");
  EXPECT_EQ(Global::getContentType(1), "application/json");
  EXPECT_EQ(Global::getContentType(2), "error");
  EXPECT_EQ(Global::getContentType(std::numeric_limits<std::uint64_t>::max()), "error");
}

TEST(Records, ErrorsCarryTheirNameAndMessage) {
  EXPECT_EQ(makeError(1), (Error{"VornelError001", 1, "HttpMethod is null"}));
  EXPECT_EQ(makeError(5), (Error{"VornelError005", 5, "Client ID is null or empty"}));
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
  virtual void failed(const ResultDictionary& result) { heard = "failed " + result.at("RC"); }
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

  const CallbackTriple none = makeCallback(&listener, nullptr, nullptr);
  EXPECT_FALSE(none.finished || none.failed);
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  manager.set_finishedSelector(nullptr);
  EXPECT_FALSE(manager._finishedSelector());
}

} // namespace
} // namespace quarnet
