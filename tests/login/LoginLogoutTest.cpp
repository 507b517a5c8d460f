#include "tests/login/LoginTest.h"

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;

class LoginLogout : public LoginTest {
protected:
  void logIn() {
    log_->clear();
    server().clearReceived();
    manager_.loginFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  }
};

TEST_F(LoginLogout, AStoredTokenIsReissuedInSilence) {
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

TEST_F(LoginLogout, TheScreenOpensWithoutATokenOrWhenItIsRefused) {
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

} // namespace
} // namespace quarnet::test
