#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include <gmock/gmock.h>
#include <thread>

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class SessionManager : public LibraryTest {
protected:
  /// Both tokens, "(none)" for an absent one; first the record's, then the store's.
  std::vector<std::string> tokens() const {
    return {record_.accessToken().value_or("(none)"), record_.refreshToken().value_or("(none)"),
            stored("access_token").value_or("(none)"), stored("refresh_token").value_or("(none)")};
  }
  const std::vector<std::string> cleared_ = {"", "", "", ""};

  /// Runs an asynchronous revocation whose completion is known by its last log line.
  void revokeUntil(std::string_view lastLine) {
    app_.heard.clear();
    log_->clear();
    manager_.revokeTokenToServerAsynch();
    EXPECT_TRUE(platform::GlibMainThread::runUntil(
        [&] {
          const auto lines = log_->lines();
          return std::any_of(lines.begin(), lines.end(),
                             [&](const auto& line) { return line.starts_with(lastLine); });
        },
        std::chrono::seconds(10)));
    Callbacks::letPass();
  }

  void listen() {
    manager_.set_target(&app_);
    manager_.set_finishedSelector(&Callbacks::finished);
    manager_.set_failedSelector(&Callbacks::failed);
  }

  Callbacks app_;
};

TEST_F(SessionManager, IsOneAndRunningInitAgainResetsTheDefaults) {
  OAuthInfoManager* seen[2] = {};
  std::thread one([&] { seen[0] = &OAuthInfoManager::sharedInstance(); });
  std::thread two([&] { seen[1] = &OAuthInfoManager::sharedInstance(); });
  one.join();
  two.join();
  EXPECT_EQ(seen[0], seen[1]);

  manager_.setResponse_type("token");
  manager_.setRedirect_uri("https://h/");
  manager_.setGrant_type("x");
  manager_.setClientSecret("kept");
  const auto screen = manager_.oAuthClient();
  EXPECT_EQ(&OAuthInfoManager::allocWithZone().init(), &manager_);
  EXPECT_EQ(manager_.response_type(), "code");
  EXPECT_EQ(manager_.redirect_uri(), "about:blank");
  EXPECT_EQ(manager_.grant_type(), "authorization_code");
  EXPECT_EQ(manager_.clientSecret(), "kept");
  EXPECT_EQ(manager_.clientId(), "demo-client");
  EXPECT_NE(manager_.oAuthClient(), screen);

  manager_.setClientId("mirrored");
  EXPECT_EQ(record_.clientId(), "mirrored");
}

TEST_F(SessionManager, AddressesEscapeOnlyWhatNoUrlMayHold) {
  const std::string host = "https://" + server().host();
  manager_.setClientId("app 1");
  manager_.setClientSecret("s+t&한");
  manager_.setScope(std::nullopt);
  record_.setRefreshToken("r#");
  const std::string reissue =
      host + "/oauth/token?client_id=app%201&client_secret=s+t&%ED%95%9C&redirect_uri=about:blank"
             "&grant_type=refresh_token&scope=(null)&refresh_token=r%23";
  EXPECT_EQ(manager_.getAccessTokenReissueURL(), reissue);
  EXPECT_EQ(log_->lines().back(), "OAuth RefreshToken URL : " + reissue);
  record_.setAccessToken("");
  EXPECT_EQ(manager_.getRevokeTokenUrl(), host + "/oauth/expireToken?client_id=app%201&token=");
  record_.setAccessToken(std::nullopt);
  manager_.setClientId(std::nullopt);
  const std::string revoke = host + "/oauth/expireToken?client_id=(null)&token=(null)";
  EXPECT_EQ(manager_.getRevokeTokenUrl(), revoke);
  EXPECT_EQ(log_->lines().back(), "OAuth RevokeToken URL : " + revoke);
}

TEST_F(SessionManager, ReissuingReplacesBothTokens) {
  signIn();
  const auto before = tokens();
  EXPECT_TRUE(manager_.reissueAccessToken());
  EXPECT_NE(record_.accessToken(), before[0]);
  EXPECT_NE(record_.refreshToken(), before[1]);
  EXPECT_EQ(stored("access_token"), record_.accessToken());
  EXPECT_TRUE(server().tokenIsLive(*record_.accessToken()));

  const auto after = tokens();
  record_.setRefreshToken(before[1]); // used already
  EXPECT_FALSE(manager_.reissueAccessToken());
  EXPECT_EQ(record_.accessToken(), after[0]);
  EXPECT_THAT(log_->lines().back(), StartsWith("reissueAccessToken : "));
}

TEST_F(SessionManager, OnlyAWholeAnswerWithTheMarkerCountsAsATokenAnswer) {
  signIn();
  const auto before = tokens();
  const Misbehaviour refusals[] = {Misbehaviour::reset(),
                                   Misbehaviour::cut(20),
                                   Misbehaviour::empty(),
                                   Misbehaviour::page(),
                                   Misbehaviour::body("access_token\xff"),
                                   Misbehaviour::body(R"({"error":"invalid_grant"})")};
  for (const Misbehaviour& refusal : refusals) {
    server().behave();
    server().misbehave("/oauth/token", refusal);
    EXPECT_FALSE(manager_.reissueAccessToken());
    EXPECT_EQ(tokens(), before);
  }
  server().behave();
  server().misbehave("/oauth/token", Misbehaviour::body(R"({"error":"no access_token here"})"));
  EXPECT_TRUE(manager_.reissueAccessToken());
  EXPECT_EQ(tokens(), std::vector<std::string>(4, "(null)"));
}

TEST_F(SessionManager, TheBlockingRevocationChangesNothingHere) {
  signIn();
  const auto before = tokens();
  EXPECT_TRUE(manager_.revokeTokenToServer());
  EXPECT_FALSE(server().tokenIsLive(before[0]));
  EXPECT_FALSE(manager_.revokeTokenToServer());
  EXPECT_EQ(tokens(), before);
  server().misbehave("/oauth/expireToken", Misbehaviour::reset());
  EXPECT_FALSE(manager_.revokeTokenToServer());
  EXPECT_EQ(log_->lines().back(), "revokeTokenToServer : ");
}

TEST_F(SessionManager, TheAsynchronousRevocationClearsOnAnyAnswer) {
  listen();
  signIn();
  revokeUntil("revokeTokenToServer : ");
  ASSERT_EQ(app_.heard.size(), 1U);
  EXPECT_TRUE(app_.heard[0].finished);
  EXPECT_EQ(app_.heard[0].result.at("RC") + app_.heard[0].result.at("RM"), "");
  EXPECT_THAT(app_.heard[0].result.at("RD"), HasSubstr("success"));
  EXPECT_EQ(tokens(), cleared_);
  EXPECT_EQ(record_.expiresIn(), "0");
  EXPECT_EQ(stored("scope"), "profile");
  EXPECT_EQ(log_->lines()[1], "Logout Success");

  signIn();
  server().misbehave("/oauth/expireToken", Misbehaviour::body("refused"));
  revokeUntil("revokeTokenToServer : ");
  ASSERT_EQ(app_.heard.size(), 1U);
  EXPECT_FALSE(app_.heard[0].finished);
  EXPECT_EQ(app_.heard[0].result, outcome("", "", "refused"));
  EXPECT_EQ(tokens(), cleared_);

  signIn();
  server().misbehave("/oauth/expireToken", Misbehaviour::body("\xff success"));
  revokeUntil("revokeTokenToServer : (null)");
  ASSERT_EQ(app_.heard.size(), 1U);
  EXPECT_FALSE(app_.heard[0].finished);
  EXPECT_EQ(app_.heard[0].result, (ResultDictionary{{"RC", ""}, {"RM", ""}}));
  EXPECT_EQ(app_.onWrongThread, 0);

  for (const bool finishedIsMissing : {true, false}) {
    listen();
    (finishedIsMissing ? manager_.set_finishedSelector(nullptr)
                       : manager_.set_failedSelector(nullptr));
    signIn();
    server().misbehave("/oauth/expireToken", Misbehaviour::body("refused"));
    revokeUntil("revokeTokenToServer : ");
    EXPECT_TRUE(app_.heard.empty());
    EXPECT_EQ(tokens(), cleared_);
  }
}

TEST_F(SessionManager, ARevocationWithoutAnAnswerLooksAtTheSignInsError) {
  listen();
  signIn();
  const auto before = tokens();
  for (const Misbehaviour& silence : {Misbehaviour::empty(), Misbehaviour::reset()}) {
    server().behave();
    server().misbehave("/oauth/expireToken", silence);
    manager_.setError(std::nullopt);
    revokeUntil("Nothing was downloaded.");
    EXPECT_TRUE(app_.heard.empty());
  }

  manager_.setError("left by a sign-in");
  revokeUntil("Error = ");
  ASSERT_EQ(app_.heard.size(), 1U);
  EXPECT_FALSE(app_.heard[0].finished);
  EXPECT_NE(app_.heard[0].result.at("RM"), "");
  EXPECT_EQ(log_->lines().back(), "Error = " + app_.heard[0].result.at("RM"));

  server().behave();
  server().misbehave("/oauth/expireToken", Misbehaviour::cut(3)); // half an answer is an error, too
  manager_.setError(std::nullopt);
  revokeUntil("Error = ");
  EXPECT_EQ(app_.heard.size(), 1U);

  server().behave();
  server().misbehave("/oauth/expireToken", Misbehaviour::empty());
  manager_.setError("left by a sign-in");
  app_.heard.clear();
  log_->clear();
  manager_.revokeTokenToServerAsynch();
  Callbacks::letPass(std::chrono::milliseconds(500));
  EXPECT_TRUE(app_.heard.empty());
  EXPECT_EQ(log_->lines().size(), 1U); // the address alone
  EXPECT_EQ(tokens(), before);
}

} // namespace
} // namespace quarnet::test
