#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include <gmock/gmock.h>

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class SessionManager : public LibraryTest {
protected:
  /// The record's fields, then the store's.
  std::vector<Text> session() const {
    std::vector<Text> all = fields();
    const std::vector<Text> kept = storedFields();
    all.insert(all.end(), kept.begin(), kept.end());
    return all;
  }

  /// Runs an asynchronous revocation until it has written this last line, or for a while when it is
  /// to write none, and called back as often as it should.
  void revoke(const std::string& url, std::string_view lastLine, std::size_t callbacks) {
    app_.heard.clear();
    log_->clear();
    manager_.readUrl(url);
    const auto hasEnded = [&] {
      const auto lines = log_->lines();
      return !lines.empty() && lines.back().starts_with(lastLine) && app_.heard.size() >= callbacks;
    };
    const std::chrono::milliseconds limit(lastLine.empty() ? 300 : 10000);
    EXPECT_EQ(platform::GlibMainThread::runUntil(hasEnded, limit), !lastLine.empty());
    Callbacks::letPass(std::chrono::milliseconds(20));
    ASSERT_EQ(app_.heard.size(), callbacks);
  }

  void listen(bool toFinished, bool toFailed) {
    manager_.set_target(&app_);
    manager_.set_finishedSelector(toFinished ? &Callbacks::finished : Operation());
    manager_.set_failedSelector(toFailed ? &Callbacks::failed : Operation());
  }

  Callbacks app_;
};

TEST_F(SessionManager, IsOneAndRunningInitAgainResetsTheDefaults) {
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
  manager_.setClientId("app 1");
  manager_.setClientSecret("s+t&\"한");
  manager_.setScope(std::nullopt);
  manager_.setRedirect_uri("https://h/<p>?q=1");
  manager_.setCode("a+b/?;%");
  record_.setRefreshToken("r#");
  OAuthClient& screen = *manager_.oAuthClient();
  const std::string uri = "&redirect_uri=https://h/%3Cp%3E?q=1";
  const std::string secret = "&client_secret=s+t&%22%ED%95%9C";
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {screen.getOAuthorizationUrl(), "OAuth Athorization URL : ",
       "/oauth/authorize?client_id=app%201&response_type=code&scope=(null)" + uri},
      {screen.getOAccessTokenUrl(), "OAuth AccessToken URL : ",
       "/oauth/token?client_id=app%201&scope=(null)" + uri + secret +
           "&code=a+b/?;%25&grant_type=authorization_code"},
      {manager_.getAccessTokenReissueURL(), "OAuth RefreshToken URL : ",
       "/oauth/token?client_id=app%201" + secret + uri +
           "&grant_type=refresh_token&scope=(null)&refresh_token=r%23"},
      {manager_.getRevokeTokenUrl(),
       "OAuth RevokeToken URL : ", "/oauth/expireToken?client_id=app%201&token=(null)"}};
  for (const auto& [address, line, expected] : cases) {
    EXPECT_EQ(address, apiUrl(expected));
    EXPECT_EQ(log_->count(line + address), 1U);
  }
  manager_.setClientId(std::nullopt);
  record_.setAccessToken("");
  EXPECT_EQ(manager_.getRevokeTokenUrl(), apiUrl("/oauth/expireToken?client_id=(null)&token="));
}

TEST_F(SessionManager, ReissuingReplacesBothTokens) {
  signIn();
  const auto before = fields();
  EXPECT_TRUE(manager_.reissueAccessToken());
  EXPECT_NE(record_.accessToken(), before[0]);
  EXPECT_NE(record_.refreshToken(), before[1]);
  EXPECT_EQ(storedFields(), fields());
  EXPECT_TRUE(server().tokenIsLive(*record_.accessToken()));
}

TEST_F(SessionManager, OnlyAWholeAnswerWithTheMarkerCountsAsATokenAnswer) {
  const Misbehaviour refusals[] = {Misbehaviour::reset(),
                                   Misbehaviour::cut(20), // behind the marker
                                   Misbehaviour::empty(),
                                   Misbehaviour::page(),
                                   Misbehaviour::body("access_token\xff"),
                                   Misbehaviour::body(R"({"error":"invalid_grant"})")};
  for (const Misbehaviour& refusal : refusals) {
    SCOPED_TRACE(static_cast<int>(refusal.kind));
    server().behave();
    signIn(); // what breaks on the way has used the refresh token up
    const auto before = session();
    server().misbehave("/oauth/token", refusal);
    EXPECT_FALSE(manager_.reissueAccessToken());
    EXPECT_EQ(session(), before);
    EXPECT_THAT(log_->lines().back(), StartsWith("reissueAccessToken : "));
  }
  server().behave();
  server().misbehave("/oauth/token", Misbehaviour::body(R"({"error":"no access_token here"})"));
  EXPECT_TRUE(manager_.reissueAccessToken());
  EXPECT_EQ(record_.accessToken(), "(null)");
  EXPECT_EQ(storedFields(), fields());
}

TEST_F(SessionManager, OnlyTheBlockingLogoutClearsAndOnlyWhatTheServerConfirmed) {
  signIn();
  const auto before = session();
  EXPECT_TRUE(manager_.revokeTokenToServer());
  EXPECT_FALSE(server().tokenIsLive(*before[0]));
  server().misbehave("/oauth/expireToken", Misbehaviour::reset());
  EXPECT_FALSE(manager_.revokeTokenToServer());
  EXPECT_EQ(log_->lines().back(), "revokeTokenToServer : ");
  server().behave();
  manager_.logout(); // the token is revoked already
  EXPECT_EQ(log_->lines().back(), "Logout failed");
  EXPECT_EQ(session(), before);

  signIn();
  const Text until = record_.expiresSystime();
  manager_.logout();
  EXPECT_EQ(log_->lines().back(), "Logout Success");
  EXPECT_THAT(fields(), ElementsAre("", "", "0", "profile", until));
  EXPECT_EQ(storedFields(), fields());
}

TEST_F(SessionManager, TheAsynchronousRevocationClearsOnAnyAnswer) {
  const struct {
    Text body; // absent for the server's own
    bool finishedIsSet;
    bool failedIsSet;
    std::vector<std::pair<bool, Text>> heard; // whether it finished, and with what answer
  } cases[] = {{std::nullopt, true, true, {{true, R"({"result":"success"})"}}},
               {std::nullopt, true, false, {{true, R"({"result":"success"})"}}},
               {"refused", true, true, {{false, "refused"}}},
               {"\xff success", true, true, {{false, std::nullopt}}},
               {"refused", false, true, {}},
               {"refused", true, false, {}}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.body.value_or("its own"));
    listen(one.finishedIsSet, one.failedIsSet);
    signIn();
    const Text until = record_.expiresSystime();
    server().behave();
    if (one.body) server().misbehave("/oauth/expireToken", Misbehaviour::body(*one.body));
    revoke(manager_.getRevokeTokenUrl(), "revokeTokenToServer : ", one.heard.size());
    EXPECT_THAT(fields(), ElementsAre("", "", "0", "profile", until));
    EXPECT_EQ(storedFields(), fields());
    EXPECT_THAT(log_->lines(), ElementsAre("Logout Success", StartsWith("revokeTokenToServer : ")));
    if (app_.heard.empty()) continue;
    EXPECT_EQ(app_.heard[0].finished, one.heard[0].first);
    EXPECT_EQ(app_.heard[0].result, resultDictionary("", "", one.heard[0].second));
  }
  EXPECT_EQ(app_.onWrongThread, 0);
}

TEST_F(SessionManager, ARevocationWithoutAnAnswerKeepsTheTokensAndSaysWhy) {
  listen(true, true);
  signIn();
  const auto before = session();
  const std::string url = manager_.getRevokeTokenUrl();
  const struct {
    std::string url;
    Misbehaviour answer;
    std::string lastLine; // empty when there is none
  } cases[] = {{"https://127.0.0.1:1/", {}, "Error = "},
               {url, Misbehaviour::reset(), "Error = "},
               {url, Misbehaviour::cut(3), "Error = "}, // half an answer is none
               {url, Misbehaviour::empty(), "Nothing was downloaded."}};
  for (const auto& one : cases) {
    // What a sign-in left behind matters for an empty answer alone, and then nothing is said.
    for (const Text& error : {Text(), Text("left by a sign-in")}) {
      SCOPED_TRACE(one.url + one.lastLine + error.value_or(""));
      server().behave();
      server().misbehave("/oauth/expireToken", one.answer);
      manager_.setError(error);
      const bool fails = one.lastLine == "Error = ";
      revoke(one.url, fails || !error ? one.lastLine : "", fails ? 1 : 0);
      if (app_.heard.empty()) continue;
      const ResultDictionary& result = app_.heard[0].result;
      EXPECT_FALSE(app_.heard[0].finished);
      EXPECT_EQ(result, outcome("", result.at("RM"), ""));
      EXPECT_EQ(log_->lines().back(), "Error = " + result.at("RM"));
      EXPECT_NE(result.at("RM"), "");
    }
  }
  EXPECT_EQ(session(), before);
}

} // namespace
} // namespace quarnet::test
