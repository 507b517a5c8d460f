#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include <gmock/gmock.h>
#include <thread>

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class SessionManager : public LibraryTest {
protected:
  /// Both tokens, "(none)" for an absent one; first the record's, then the store's.
  std::vector<std::string> tokens() const {
    return {record_.accessToken().value_or("(none)"), record_.refreshToken().value_or("(none)"),
            stored("access_token").value_or("(none)"), stored("refresh_token").value_or("(none)")};
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
    const auto before = tokens();
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
    server().behave();
    if (one.body) server().misbehave("/oauth/expireToken", Misbehaviour::body(*one.body));
    revoke(manager_.getRevokeTokenUrl(), "revokeTokenToServer : ", one.heard.size());
    EXPECT_EQ(tokens(), std::vector<std::string>(4));
    EXPECT_EQ(record_.expiresIn(), "0");
    EXPECT_EQ(stored("scope"), "profile");
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
  const auto before = tokens();
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
  EXPECT_EQ(tokens(), before);
}

} // namespace
} // namespace quarnet::test
