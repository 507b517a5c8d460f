#include "tests/support/LibraryTest.h"

#include <functional>
#include <gmock/gmock.h>
#include <thread>

namespace quarnet::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::StartsWith;

using TokenStorage = LibraryTest;

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

TEST_F(TokenStorage, AStoreThatCannotBeReadLeavesTheRecordAsItIs) {
  signIn();
  const std::vector<Text> before = fields();
  makeFile("store.sqlite", "no database at all");
  manager_.restoreOAuthInfo();
  EXPECT_EQ(fields(), before);
  EXPECT_EQ(manager_.getOAuthInfoDictionary(), Dictionary{});
  EXPECT_THAT(log_->lines(), Each(StartsWith("user defaults cannot be read : " + storeFile())));
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

/// In memory, with something to happen whenever texts are set.
class HookedDefaults final : public platform::UserDefaults {
public:
  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) override {
    auto found = store_.values(keys);
    found->resize(found->size() + surplus, "x");
    return found;
  }
  void setValues(std::span<const Entry> entries) override {
    if (const auto happens = std::exchange(beforeSetting, nullptr)) happens();
    store_.setValues(entries);
  }
  void synchronize() override {}

  std::function<void()> beforeSetting; // once
  std::size_t surplus = 0;

private:
  platform::MemoryUserDefaults store_;
};

std::string answerOf(const std::string& name) {
  return R"({"access_token":")" + name + R"(","refresh_token":")" + name +
         R"(","expires_in":1,"scope":")" + name + "\"}";
}

class TokenRaces : public TokenStorage {
protected:
  void SetUp() override {
    TokenStorage::SetUp();
    use(&platform::Platform::userDefaults, store_);
    use(&platform::Platform::log, std::make_shared<platform::NullLog>());
  }
  std::shared_ptr<HookedDefaults> store_ = std::make_shared<HookedDefaults>();
};

TEST_F(TokenRaces, AStoreWithoutRoomAndOneThatGivesTooMuchHarmNobody) {
  manager_.setOAuthInfoWithJSON(answerOf("A"));
  store_->surplus = 1;
  EXPECT_TRUE(manager_.getOAuthInfoDictionary().empty());
  store_->beforeSetting = [] { throw std::bad_alloc(); };
  EXPECT_NO_THROW(manager_.setOAuthInfoWithJSON(answerOf("B")));
  EXPECT_EQ(record_.accessToken(), "A");
}

TEST_F(TokenRaces, ARestoreNeitherMixesTokensNorPutsOldOnesBack) {
  std::atomic<bool> isOver = false;
  std::thread restoring([&] {
    for (int round = 0; !isOver; ++round) {
      manager_.restoreOAuthInfo();
      if (round % 2 == 0) manager_.getOAuthInfo();
      if (round % 3 == 0) manager_.saveOAuthInfo();
      const Dictionary shown = manager_.getOAuthInfoDictionary();
      EXPECT_TRUE(shown.empty() || shown.at("access_token") == shown.at("refresh_token"));
      APIRequest().setHeaderErr(std::nullopt, nullptr);
      const auto call = APIRequest::urlRequest();
      EXPECT_EQ(call->headerFields.get("access_token"), call->headerFields.get("refresh_token"));
    }
  });
  for (int round = 0; round < 20'000 && !HasFailure(); ++round) {
    const std::string name = "a token of more than a few bytes " + std::to_string(round);
    if (round % 100 == 0) {
      manager_.oAuthClient()->parseData(answerOf(name));
    } else {
      manager_.setOAuthInfoWithJSON(answerOf(name));
    }
    EXPECT_THAT(fields(), ElementsAre(name, name, "1", name, ::testing::_));
    EXPECT_EQ(store_->value("access_token"), name);
    EXPECT_EQ(store_->value("refresh_token"), name);
  }
  isOver = true;
  restoring.join();
}

TEST_F(TokenRaces, WhatFallsIntoAnotherStepComesBeforeOrAfterIt) {
  server().misbehave("/oauth/expireToken", sandbox::Misbehaviour::body("success"));
  const auto take = [this] { manager_.setOAuthInfoWithJSON(answerOf("new")); };
  const auto clear = [this] { manager_.logout(); };
  const auto save = [this] { manager_.saveOAuthInfo(); };
  const auto restore = [this] { manager_.restoreOAuthInfo(); };
  const std::tuple<std::function<void()>, std::function<void()>, std::string> cases[] = {
      {take, restore, "new"}, {save, take, "new"}, {clear, restore, ""}, {clear, take, "new"}};
  for (const auto& [first, second, left] : cases) {
    manager_.setOAuthInfoWithJSON(answerOf("old"));
    std::thread other;
    store_->beforeSetting = [&, &operation = second] {
      other = std::thread(operation);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    };
    first();
    other.join();
    EXPECT_EQ(record_.accessToken(), left);
    EXPECT_EQ(store_->value("access_token"), left);
  }
}

TEST_F(TokenStorage, ALogMayUseTheStore) {
  class CuriousLog final : public platform::Log {
  public:
    void write(Line) override {
      if (std::exchange(isAsking_, true)) return;
      OAuthInfoManager::sharedInstance().restoreOAuthInfo();
      OAuthInfoManager::sharedInstance().getOAuthInfoDictionary();
      OAuthInfoManager::sharedInstance().saveOAuthInfo();
      isAsking_ = false;
    }

  private:
    bool isAsking_ = false;
  };
  std::filesystem::create_directory(storeFile()); // a store that complains all the time
  use(&platform::Platform::log, std::make_shared<CuriousLog>());
  for (const char* const name : {"old", "new"})
    manager_.setOAuthInfoWithJSON(answerOf(name));
  manager_.restoreOAuthInfo();
  EXPECT_EQ(record_.accessToken(), "new");
}

} // namespace
} // namespace quarnet::test
