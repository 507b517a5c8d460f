#include "tests/support/LibraryTest.h"

#include "quarnet/core/Wipe.h"

#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <limits>
#include <unistd.h>

namespace quarnet::test {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

Data fromHex(std::string_view hex) {
  Data bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

class Encryption : public LibraryTest {
protected:
  /// What the openssl program makes of a ciphertext.
  std::string decryptedOutside(const std::string& hexKey, const std::string& hexIv,
                               const std::string& cipherText) const {
    const std::string in = makeFile("cipher", cipherText);
    const std::string command =
        "openssl enc -d -aes-256-cbc -K " + hexKey + " -iv " + hexIv + " -in " + in;
    FILE* pipe = popen(command.c_str(), "r");
    std::string plain;
    char buffer[65536];
    while (const std::size_t count = fread(buffer, 1, sizeof(buffer), pipe)) {
      plain.append(buffer, count);
    }
    EXPECT_EQ(pclose(pipe), 0);
    return plain;
  }

  Text encrypt(const Text& parameters, std::optional<Error>* error = nullptr) {
    swapKey_.reset();
    return request_.encryptParamSwapKeyError(parameters, &swapKey_, error);
  }

  APIRequest request_;
  Text swapKey_;
};

// NIST SP 800-38A, F.2.5 (CBC-AES256.Encrypt); the padding block that follows is not theirs.
TEST_F(Encryption, AgreesWithThePublishedVectors) {
  const Data key = fromHex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
  const Data iv = fromHex("000102030405060708090a0b0c0d0e0f");
  const Data plain = fromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                             "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
  const auto encrypted = request_.AES256EncryptWithKeyIvectorData(key, iv, plain);
  ASSERT_EQ(encrypted->size(), 80U);
  EXPECT_EQ(request_.hexEncode(encrypted->substr(0, 64)),
            "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
            "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b");
}

TEST_F(Encryption, KeysAreCutToTheirBufferOrFilledWithZeroBytes) {
  const std::string plain = "a=1&b=가";
  const std::tuple<Text, Text, std::string, std::string> cases[] = {
      {"0123456789abcdef0123456789abcdefTOO LONG", "0123456789abcdefTOO LONG",
       "3031323334353637383961626364656630313233343536373839616263646566",
       "30313233343536373839616263646566"},
      {"k", "", "6b" + std::string(62, '0'), std::string(32, '0')},
      {std::nullopt, std::nullopt, std::string(64, '0'), std::string(32, '0')},
  };
  for (const auto& [key, iv, hexKey, hexIv] : cases) {
    const auto encrypted = request_.AES256EncryptWithKeyIvectorData(key, iv, plain);
    EXPECT_EQ(encrypted->size(), 16U);
    EXPECT_EQ(decryptedOutside(hexKey, hexIv, *encrypted), plain);
  }
}

TEST_F(Encryption, PadsEveryLengthAndKeepsEveryByte) {
  std::string megabyte;
  while (megabyte.size() < (1U << 20))
    megabyte += "한국어😀 \x01~";
  for (const std::string& plain : {std::string(), std::string(15, 'x'), std::string(16, 'x'),
                                   std::string("\0\r\n\xff", 4), megabyte}) {
    const auto encrypted = request_.AES256EncryptWithKeyIvectorData("key", "iv", plain);
    EXPECT_EQ(encrypted->size(), (plain.size() / 16 + 1) * 16);
    EXPECT_EQ(decryptedOutside("6b6579" + std::string(58, '0'), "6976" + std::string(28, '0'),
                               *encrypted),
              plain);
  }
}

TEST_F(Encryption, HexIsLowerCaseAndKeepsEveryByte) {
  std::string bytes, expected;
  for (int byte = 0; byte < 256; ++byte) {
    bytes += static_cast<char>(byte);
    char two[3];
    std::snprintf(two, sizeof(two), "%02x", static_cast<unsigned>(byte));
    expected += two;
  }
  EXPECT_EQ(request_.hexEncode(bytes), expected);
  for (std::size_t size = 0; size < 70; ++size) {
    EXPECT_EQ(request_.hexEncode(bytes.substr(100, size)), expected.substr(200, size * 2));
  }
  EXPECT_EQ(request_.hexEncode(std::nullopt), "");
}

TEST_F(Encryption, AsksForTheKeyOverPlainHttpAndNothingElse) {
  const Text hex = encrypt("a=1");
  EXPECT_THAT(*hex, MatchesRegex("[0-9a-f]{32}"));
  EXPECT_EQ(swapKey_, "1700000000250");
  const auto received = server().received();
  ASSERT_EQ(received.size(), 1U);
  EXPECT_FALSE(received[0].secure);
  EXPECT_EQ(received[0].method + " " + received[0].target, "POST /oauth/get_param_enc_key");
  EXPECT_EQ(received[0].body, "swap_key=1700000000250&client_id=demo-client");
  EXPECT_EQ(received[0].header("Content-Type"), "application/x-www-form-urlencoded");
  EXPECT_EQ(received[0].header("Content-Length"), "44");
  EXPECT_EQ(received[0].header("client_id"), std::nullopt);
  EXPECT_EQ(received[0].header("access_token"), std::nullopt);
  EXPECT_EQ(log_->count("payload : swap_key=1700000000250&client_id=demo-client"), 1U);
  EXPECT_EQ(log_->count("encryptedString : " + *hex), 1U);
}

TEST_F(Encryption, FailsOnlyWithoutAClientOrAnAnswer) {
  std::optional<Error> error;
  record_.setClientId("");
  EXPECT_TRUE(encrypt("a=1", &error));
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(server().received().back().body, "swap_key=1700000000250&client_id=");

  server().clearReceived();
  record_.setClientId(std::nullopt);
  EXPECT_EQ(encrypt("a=1", &error), std::nullopt);
  EXPECT_EQ(error, (Error{"VornelError005", 5, "Client ID is null or empty"}));
  EXPECT_EQ(swapKey_, std::nullopt);
  EXPECT_TRUE(server().received().empty());

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

TEST_F(Encryption, GoesOnWithZeroBytesWhateverTheAnswerHolds) {
  using sandbox::Misbehaviour;
  const std::string zero = request_.hexEncode(
      request_.AES256EncryptWithKeyIvectorData(std::nullopt, std::nullopt, "a=1"));
  std::vector<Misbehaviour> rubbish = {Misbehaviour::empty(), Misbehaviour::page(),
                                       Misbehaviour::utf8()};
  for (const std::string body : {"[]", R"({"a":nul})", R"({"body":nope})", R"({"body":[[[[[)"})
    rubbish.push_back(Misbehaviour::body(body));
  const std::size_t notJson = rubbish.size();
  for (const std::string body : {R"({"body":"text"})", R"({"body":{"key":1,"iv":null}})"})
    rubbish.push_back(Misbehaviour::body(body));
  for (const Misbehaviour& misbehaviour : rubbish) {
    server().behave();
    server().misbehave("/oauth/get_param_enc_key", misbehaviour);
    EXPECT_EQ(encrypt("a=1"), zero);
  }
  EXPECT_EQ(log_->count("response : (null)"), notJson);
  server().misbehave("/oauth/get_param_enc_key", Misbehaviour::status(500));
  EXPECT_TRUE(encrypt("a=1"));
}

TEST_F(Encryption, NoClockIsTooWild) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::tuple<double, std::string, std::string> cases[] = {
      {-1.0019, "-1001", "-978307198001"},
      {std::nan(""), "0", "0"},
      {1e30, "9223372036854775807", "9223372036854775807"},
      {-kInfinity, "-9223372036854775808", "-9223372036854775808"},
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

std::string revealed(std::string_view hidden) {
  std::string text(hidden);
  for (char& c : text)
    ++c;
  return text;
}

class KeyClient final : public platform::HttpClient {
public:
  platform::HttpResult sendSynchronously(const platform::HttpRequest&) override {
    platform::HttpResult result;
    result.body.reserve(200);
    for (const std::string_view hidden : {kHiddenKey, kHiddenVector}) {
      result.body += result.body.empty() ? R"({"body":{"key":")" : R"(","iv":")";
      for (const char c : hidden)
        result.body += static_cast<char>(c + 1);
    }
    result.body += R"("}})";
    return result;
  }
  void sendAsynchronously(std::shared_ptr<const platform::HttpRequest>, Completion) override {}
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
      found |=
          std::search(chunk.begin(), chunk.begin() + size, hidden.begin(), hidden.end(),
                      [](char there, char h) { return there == h + 1; }) != chunk.begin() + size;
    }
  }
  close(memory);
  return found;
}

TEST_F(Encryption, NothingIsLeftOfTheKeyAndItsVector) {
  platform::Platform::install(
      {.httpClient = std::make_shared<KeyClient>(), .log = std::make_shared<platform::NullLog>()});
  std::string key = revealed(kHiddenKey), vector = revealed(kHiddenVector);
  if (!isInMemory(kHiddenKey)) GTEST_SKIP() << "an emulator's memory is not this process's";
  const auto expected = request_.AES256EncryptWithKeyIvectorData(key, vector, "a=1");
  wipe(key);
  wipe(vector);
  EXPECT_EQ(encrypt("a=1"), request_.hexEncode(expected));
  EXPECT_FALSE(isInMemory(kHiddenKey));
  EXPECT_FALSE(isInMemory(kHiddenVector));
}

} // namespace
} // namespace quarnet::test
