#include "tests/support/LibraryTest.h"

#include "quarnet/core/Wipe.h"

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace quarnet::test {
namespace {

class Encryption : public LibraryTest {
protected:
  Text encrypt(const Text& parameters, std::optional<Error>* error = nullptr) {
    swapKey_.reset();
    return request_.encryptParamSwapKeyError(parameters, &swapKey_, error);
  }

  APIRequest request_;
  Text swapKey_;
};

// As "openssl enc -aes-256-cbc" does under the same keys.
TEST_F(Encryption, CutsOrFillsTheKeyAndPadsEveryLength) {
  const std::tuple<Text, Text, std::string, std::string> cases[] = {
      {"0123456789abcdef0123456789abcdefTOO LONG", "0123456789abcdefTOO LONG", "a=1&b=가",
       "8526a63617c31ebc4772d85435e04864"},
      {std::nullopt, std::nullopt, std::string("\0\r\n\xff", 4),
       "ae9acf078888c54df7ae3ee08338d26f"},
      {"k", "", "", "0231a4314979d153afcef0c3e58f985a"},
      {"key", "iv", std::string(15, 'x'), "98497641b44194f80901ce33c11467f9"},
      {"key", "iv", std::string(16, 'x'),
       "e484e45b22d8b93a7cc73610ff1591642ece5c01ea989ccc90c4e37fbf106773"},
  };
  for (const auto& [key, iv, plain, hex] : cases)
    EXPECT_EQ(request_.hexEncode(request_.AES256EncryptWithKeyIvectorData(key, iv, plain)), hex);
  EXPECT_EQ(request_.hexEncode(std::nullopt), "");
}

TEST_F(Encryption, AsksForTheKeyOverPlainHttpAndNothingElse) {
  const Text hex = encrypt("a=1");
  ASSERT_TRUE(hex);
  EXPECT_EQ(swapKey_, "1700000000250");
  const auto received = server().received();
  ASSERT_EQ(received.size(), 1U);
  EXPECT_FALSE(received[0].secure);
  EXPECT_EQ(received[0].method + " " + received[0].target, "POST /oauth/get_param_enc_key");
  EXPECT_EQ(received[0].body, "swap_key=1700000000250&client_id=demo-client");
  EXPECT_EQ(received[0].header("Content-Type"), "application/x-www-form-urlencoded");
  EXPECT_EQ(received[0].header("Content-Length"), "44");
  EXPECT_FALSE(received[0].header("client_id") || received[0].header("access_token"));
  EXPECT_EQ(log_->count("payload : swap_key=1700000000250&client_id=demo-client"), 1U);
  EXPECT_EQ(log_->count("encryptedString : " + *hex), 1U);
}

TEST_F(Encryption, FailsOnlyWithoutAClientOrAnAnswer) {
  std::optional<Error> error;
  record_.setClientId("");
  EXPECT_TRUE(encrypt("a=1", &error));
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(server().received().back().body, "swap_key=1700000000250&client_id=");

  record_.setClientId(std::nullopt);
  EXPECT_EQ(encrypt("a=1", &error), std::nullopt);
  EXPECT_EQ(error, (Error{"VornelError005", 5, "Client ID is null or empty"}));
  EXPECT_EQ(swapKey_, std::nullopt);
  EXPECT_EQ(server().received().size(), 1U);

  record_.setClientId("demo-client");
  for (const auto& fault : {sandbox::Misbehaviour::reset(), sandbox::Misbehaviour::cut(20)}) {
    server().behave();
    server().misbehave("/oauth/get_param_enc_key", fault);
    error.reset();
    EXPECT_EQ(encrypt("a=1", &error), std::nullopt);
    EXPECT_EQ(error, (Error{"VornelError007", 7, "Received data is empty"}));
    EXPECT_EQ(swapKey_, "1700000000250");
  }
}

// The inputs in fuzz/seeds/answers hold more of such answers.
TEST_F(Encryption, GoesOnWithZeroBytesWhateverTheAnswerHolds) {
  server().misbehave("*", sandbox::Misbehaviour::body(R"({"body":nope})"));
  EXPECT_EQ(encrypt("a=1"), "dfdcd48559a094dfa04b277db9869e31");
  EXPECT_EQ(log_->count("response : (null)"), 1U);
  server().misbehave("*", sandbox::Misbehaviour::status(500));
  EXPECT_TRUE(encrypt("a=1"));
}

TEST_F(Encryption, NoClockIsTooWild) {
  const std::tuple<double, std::string, std::string> cases[] = {
      {-1.0019, "-1001", "-978307198001"},
      {NAN, "0", "0"},
      {1e30, "9223372036854775807", "9223372036854775807"},
      {-INFINITY, "-9223372036854775808", "-9223372036854775808"},
  };
  for (const auto& [now, swapKey, expiry] : cases) {
    clock_->now = now;
    encrypt("a=1");
    EXPECT_EQ(swapKey_, swapKey);
    manager_.setOAuthInfoWithJSON(R"({"expires_in":3.6})");
    EXPECT_EQ(record_.expiresSystime(), expiry);
  }
}

// What the server hands out, each character one less, so that it stands nowhere before it is sent.
constexpr std::string_view kHiddenKey = "a-key-that-is-good-for-one-call.";
constexpr std::string_view kHiddenVector = "one_vector^again";

void appendRevealed(std::string& text, std::string_view hidden) {
  for (const char c : hidden)
    text += static_cast<char>(c + 1);
}

struct KeyClient final : platform::HttpClient {
  platform::HttpResult sendSynchronously(const platform::HttpRequest&) override {
    platform::HttpResult result;
    result.body.reserve(200);
    result.body = R"({"body":{"key":")";
    appendRevealed(result.body, kHiddenKey);
    appendRevealed(result.body += R"(","iv":")", kHiddenVector);
    result.body += R"("}})";
    return result;
  }
  void sendAsynchronously(std::shared_ptr<const platform::HttpRequest>, Completion) override {}
};

/// Keeps no line but, where freed memory is used again, has all of them written.
struct ForgetfulLog final : platform::Log {
  void write(Line) override {}
#ifdef __SANITIZE_ADDRESS__
  bool isOn() const override {
    return false;
  }
#endif
};

/// Whether this process can still read what was hidden as that, anywhere in memory.
bool isInMemory(std::string_view hidden) {
  std::ifstream maps("/proc/self/maps");
  const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  std::vector<char> chunk(1 << 16);
  bool found = false;
  for (std::string line; std::getline(maps, line);) {
    std::size_t dash = 0;
    std::uint64_t start = std::stoull(line, &dash, 16);
    const std::uint64_t end = std::stoull(line.substr(dash + 1), nullptr, 16);
    if (line[line.find(' ') + 2] != 'w' || end - start > (1U << 30)) continue;
    for (; start < end; start += chunk.size() - hidden.size()) {
      const ssize_t size = pread64(memory, chunk.data(), chunk.size(), static_cast<off64_t>(start));
      if (size <= 0) break;
      const std::string_view read(chunk.data(), static_cast<std::size_t>(size));
      found |= std::search(read.begin(), read.end(), hidden.begin(), hidden.end(),
                           [](char c, char h) { return c == h + 1; }) != read.end();
    }
  }
  close(memory);
  return found;
}

TEST_F(Encryption, NothingIsLeftOfTheKeyAndItsVector) {
  platform::Platform::install(
      {.httpClient = std::make_shared<KeyClient>(), .log = std::make_shared<ForgetfulLog>()});
  std::string key;
  appendRevealed(key, kHiddenKey);
  if (!isInMemory(kHiddenKey)) GTEST_SKIP() << "an emulator's memory is not this process's";
  wipe(key);
  EXPECT_EQ(encrypt("a=1"), "af058e0af11c054f3f3413b276f0c8ce");
  EXPECT_FALSE(isInMemory(kHiddenKey.substr(16))); // freeing may overwrite the rest
  EXPECT_FALSE(isInMemory(kHiddenVector));
}

} // namespace
} // namespace quarnet::test
