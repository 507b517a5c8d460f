#include "tests/support/LibraryTest.h"

#include <gmock/gmock.h>
#include <thread>

namespace quarnet::test {
namespace {

using ::testing::ElementsAre;

class TokenStorage : public LibraryTest {
protected:
  /// accessToken, refreshToken, expiresIn, scope, expiresSystime of the record.
  std::vector<Text> fields() const {
    return {record_.accessToken(), record_.refreshToken(), record_.expiresIn(), record_.scope(),
            record_.expiresSystime()};
  }
  std::vector<Text> storedFields() const {
    return {stored("access_token"), stored("refresh_token"), stored("expires_in"), stored("scope"),
            stored("expires_systime")};
  }
};

// 1,700,000,000.25 s since 1970 are 721,692,800.25 s since 2001.
constexpr std::string_view kNow = "721692800250";

TEST_F(TokenStorage, ATokenAnswerIsTakenOverAndSaved) {
  manager_.setOAuthInfoWithJSON(
      R"({"access_token":"A","refresh_token":"R","expires_in":3600,"scope":"s","more":[1]})");
  EXPECT_THAT(fields(), ElementsAre("A", "R", "3600", "s", "721696400250"));
  EXPECT_EQ(storedFields(), fields());
  EXPECT_THAT(log_->lines(), ElementsAre("ExtTime : 3600", "OAuth Info",
                                         "accessToken:A\nrefreshToken:R\nexpiresIn:3600\nscope:s\n"
                                         "expiresSystime:721696400250\n"));
}

TEST_F(TokenStorage, WhatIsMissingOverwritesWithNull) {
  for (const std::string_view answer : {"", "<html>", "[]", "{}", R"({"error":"invalid_grant"})"}) {
    signIn();
    manager_.setOAuthInfoWithJSON(std::string(answer));
    EXPECT_THAT(fields(), ElementsAre("(null)", "(null)", "(null)", "(null)", kNow)) << answer;
    EXPECT_EQ(storedFields(), fields());
  }
}

TEST_F(TokenStorage, TheExpiryInstantIsDefinedForEveryLifetime) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {R"("12xyz")", "12xyz", "721692812250"},
      {R"("abc")", "abc", std::string(kNow)},
      {"3600.5", "3600.5", "721696400250"},
      {"1e3", "1000", "721693800250"},
      {"true", "1", "721692801250"},
      {"null", "<null>", std::string(kNow)},
      {"-721692800", "-721692800", "250"},
      {"9223372036854775807", "9223372036854775807", "9223372036854775807"},
      {"-99999999999999999999", "-99999999999999999999", "-9223371315161975808"},
  };
  for (const auto& [value, text, instant] : cases) {
    manager_.setOAuthInfoWithJSON("{\"expires_in\":" + value + "}");
    EXPECT_EQ(record_.expiresIn(), text);
    EXPECT_EQ(record_.expiresSystime(), instant) << value;
  }
}

TEST_F(TokenStorage, ARestartRestoresAllButTheScope) {
  signIn();
  const std::vector<Text> before = fields();
  restart();
  EXPECT_THAT(fields(),
              ElementsAre(std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt));
  manager_.restoreOAuthInfo();
  EXPECT_THAT(fields(), ElementsAre(before[0], before[1], before[2], std::nullopt, before[4]));
  EXPECT_EQ(stored("scope"), "profile");
  manager_.saveOAuthInfo();
  EXPECT_EQ(stored("scope"), std::nullopt);
}

TEST_F(TokenStorage, GettingTheRecordFillsAbsentFieldsWithNull) {
  record_.setScope("s");
  EXPECT_EQ(&manager_.getOAuthInfo(), &record_);
  EXPECT_EQ(&OAuthInfo::allocWithZone().init().copyWithZone(), &record_);
  EXPECT_THAT(fields(), ElementsAre("(null)", "(null)", "(null)", "s", "(null)"));
  EXPECT_EQ(record_.clientId(), "demo-client");
  EXPECT_EQ(stored("access_token"), std::nullopt);
  manager_.saveOAuthInfo();
  EXPECT_EQ(storedFields(), fields());
}

TEST_F(TokenStorage, TheDictionaryStopsAtTheFirstAbsentToken) {
  EXPECT_EQ(manager_.getOAuthInfoDictionary(), Dictionary{});
  record_.setRefreshToken("R");
  manager_.saveOAuthInfo();
  EXPECT_EQ(manager_.getOAuthInfoDictionary(), Dictionary{});
  record_.setAccessToken("A");
  EXPECT_EQ(manager_.getOAuthInfoDictionary(), Dictionary{}); // the store is read, not the record
  manager_.saveOAuthInfo();
  EXPECT_EQ(manager_.getOAuthInfoDictionary(),
            (Dictionary{{"access_token", "A"}, {"refresh_token", "R"}}));
}

TEST_F(TokenStorage, AnswersTakenOnTwoThreadsNeverMix) {
  const auto take = [this](const std::string& name) {
    for (int i = 0; i < 200; ++i) {
      manager_.setOAuthInfoWithJSON("{\"access_token\":\"" + name + "\",\"refresh_token\":\"" +
                                    name + "\",\"expires_in\":1,\"scope\":\"s\"}");
    }
  };
  std::thread one(take, "one"), two(take, "two");
  for (int i = 0; i < 200; ++i) {
    const std::string whole = record_.getWholeInfo();
    EXPECT_EQ(whole.find("one") == std::string::npos || whole.find("two") == std::string::npos,
              true)
        << whole;
  }
  one.join();
  two.join();
  EXPECT_EQ(stored("access_token"), stored("refresh_token"));
}

} // namespace
} // namespace quarnet::test
