#include "sandbox/Text.h"
#include "tests/sandbox/TestClient.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <iomanip>
#include <sstream>
#include <thread>

namespace quarnet::sandbox {
namespace {

using std::chrono::milliseconds;

std::string member(const std::string& json, const std::string& name) {
  const std::string start = "\"" + name + "\":\"";
  const std::size_t at = json.find(start);
  if (at == std::string::npos) return {};
  return json.substr(at + start.size(), json.find('"', at + start.size()) - at - start.size());
}

/// Encrypts with the openssl program and gives the text for an address.
std::string encrypted(const std::string& key, const std::string& iv, const std::string& text) {
  std::ostringstream command;
  command << "printf '" << std::oct << std::setfill('0');
  for (const unsigned char byte : text)
    command << '\\' << std::setw(3) << unsigned{byte};
  command << "' | openssl enc -aes-256-cbc -K " << hexEncoded(key) << " -iv " << hexEncoded(iv);
  FILE* const pipe = popen(command.str().c_str(), "r");
  std::string bytes(64ul * 1024, '\0');
  bytes.resize(fread(bytes.data(), 1, bytes.size(), pipe));
  EXPECT_EQ(pclose(pipe), 0);
  return hexEncoded(bytes);
}

class ServerTest : public testing::Test {
protected:
  std::vector<std::string> authorised(const std::string& swapKey = "1") {
    return {"client_id: demo-client", "access_token: " + server_.issueTokens().accessToken,
            "swap_key: " + swapKey};
  }
  Answer key(const std::string& swapKey) {
    return plain_.post("/oauth/get_param_enc_key",
                       "swap_key=" + swapKey + "&client_id=demo-client");
  }
  std::string encryptedUnder(const Answer& key, const std::string& text) {
    return encrypted(member(key.body, "key"), member(key.body, "iv"), text);
  }

  Server server_;
  TestClient client_{server_};
  TestClient plain_{server_};

  void SetUp() override { plain_.scheme = "http://"; }
};

TEST_F(ServerTest, ServesHttpAndHttpsOnOnePortButOnlyToThoseWhoTrustIt) {
  TestClient stranger(server_);
  stranger.trusting = false;
  EXPECT_EQ(client_.get("/").status, 200);
  EXPECT_EQ(plain_.get("/").status, 200);
  EXPECT_EQ(stranger.get("/").result, CURLE_PEER_FAILED_VERIFICATION);
  const auto received = server_.received();
  ASSERT_EQ(received.size(), 2u);
  EXPECT_TRUE(received[0].secure);
  EXPECT_FALSE(received[1].secure);
}

TEST_F(ServerTest, UnderstandsParametersThatAnotherProgramEncrypted) {
  const std::string text = "name=x%20y%26&이름=%EA%B0%92&flag";
  const std::string enc = "?enc=" + encryptedUnder(key("7"), text);
  const Answer answer = client_.get("/v1/a.json" + enc, authorised("7"));
  EXPECT_NE(answer.body.find("\"parameters\":{\"name\":\"x y&\",\"이름\":\"값\",\"flag\":null}"),
            std::string::npos)
      << answer.body;
  EXPECT_EQ(client_.get("/v1/a.json" + enc, authorised("7")).status, 400) << "a key serves once";

  const std::string noText = "?enc=" + encryptedUnder(key("8"), "");
  const Answer xml = client_.get("/v1/a.xml" + noText, authorised("8"));
  EXPECT_NE(xml.body.find("<decrypted></decrypted>"), std::string::npos) << xml.body;
}

TEST_F(ServerTest, TwoKeysOfOneSwapKeyBothOpen) {
  const Answer first = key("9");
  const Answer second = key("9");
  for (const Answer* const one : {&second, &first}) {
    const std::string path = "/a.json?enc=" + encryptedUnder(*one, "which=this");
    EXPECT_NE(client_.get(path, authorised("9")).body.find("{\"which\":\"this\"}"),
              std::string::npos);
  }
}

TEST_F(ServerTest, OpensParametersUnderKeyTextsOfAnyLength) {
  for (const auto& [keyLength, ivLength] : {std::pair{3u, 2u}, {0u, 0u}, {40u, 20u}}) {
    server_.misbehave("/oauth/get_param_enc_key", Misbehaviour::keyTexts(keyLength, ivLength));
    const Answer answer = key("5");
    std::string keyText = member(answer.body, "key");
    std::string ivText = member(answer.body, "iv");
    ASSERT_EQ(keyText.size(), keyLength);
    ASSERT_EQ(ivText.size(), ivLength);
    keyText.resize(32);
    ivText.resize(16);
    const std::string path = "/a.json?enc=" + encrypted(keyText, ivText, "a=1");
    EXPECT_NE(client_.get(path, authorised("5")).body.find("{\"a\":\"1\"}"), std::string::npos);
  }
}

TEST_F(ServerTest, TurnsAwayWhatItShouldNotAnswer) {
  const std::string expired = server_.issueTokens("", std::chrono::seconds(0)).accessToken;
  const std::string live = server_.issueTokens().accessToken;
  const std::string id = "client_id: demo-client";
  key("6");
  struct {
    const char* path;
    std::vector<std::string> headers;
    long status;
  } const cases[] = {
      {"/a.json", {id}, 401},
      {"/a.json", {id, "access_token: " + expired}, 401},
      {"/a.xml", {"client_id: other", "access_token: " + live}, 401},
      {"/a", {id, "access_token: " + live}, 404},
      {"/missing/a.json", {id, "access_token: " + live}, 404},
      {"/a.json?enc=xyz", {id, "access_token: " + live, "swap_key: 6"}, 400},
      {"/a.json?enc=00112233445566778899aabbccddeeff", {id, "access_token: " + live}, 400},
      {"/a.json?enc=00112233445566778899aabbccdd",
       {id, "access_token: " + live, "swap_key: 6"},
       400},
  };
  for (const auto& [path, headers, status] : cases)
    EXPECT_EQ(client_.get(path, headers).status, status) << path;
}

TEST_F(ServerTest, RecordsRequestsAsTheyCameAndBigBodiesByTheirSum) {
  client_.post("/a.json?b=%20c", "h\xC3\xA9llo", {"X-Odd:  two ", "x-odd: again"});
  client_.post("/b.json", std::string(2'000'000, 'a'), authorised());
  const auto received = server_.received();
  ASSERT_EQ(received.size(), 2u);
  EXPECT_EQ(received[0].target, "/a.json?b=%20c");
  EXPECT_EQ(received[0].body, "h\xC3\xA9llo");
  EXPECT_EQ(received[0].header("x-ODD"), "two");
  EXPECT_EQ(received[0].header("absent"), std::nullopt);
  EXPECT_EQ(received[1].body, "");
  EXPECT_EQ(received[1].bodySize, 2'000'000u);
  // head -c 2000000 /dev/zero | tr '\0' a | sha256sum
  EXPECT_EQ(received[1].bodySha256,
            "bcf7f9d1b4311c3352e60502255ce09a6744df84e8f2c89f79c4b5d74933a95a");
}

TEST_F(ServerTest, MisbehavesAsToldUntilItBehaves) {
  client_.timeout = plain_.timeout = 400;
  struct {
    Misbehaviour what;
    CURLcode result;
    long status;
  } const cases[] = {
      {Misbehaviour::delay(milliseconds(150)), CURLE_OK, 200},
      {Misbehaviour::silent(), CURLE_OPERATION_TIMEDOUT, 0},
      {Misbehaviour::reset(), CURLE_RECV_ERROR, 0},
      {Misbehaviour::resetBody(), CURLE_RECV_ERROR, 200},
      {Misbehaviour::endless(), CURLE_OPERATION_TIMEDOUT, 200},
      {Misbehaviour::drop(), CURLE_OK, 200},
      {Misbehaviour::status(503), CURLE_OK, 503},
      {Misbehaviour::status(204), CURLE_OK, 204},
      {Misbehaviour::body("{}"), CURLE_OK, 200},
  };
  for (TestClient* const client : {&client_, &plain_}) {
    for (const auto& [what, result, status] : cases) {
      SCOPED_TRACE(testing::Message() << client->scheme << static_cast<int>(what.kind));
      server_.misbehave("/", what);
      const Answer answer = client->get("/");
      EXPECT_EQ(answer.result, result);
      EXPECT_EQ(answer.status, status);
      server_.behave();
      EXPECT_EQ(client->get("/").status, 200);
    }
  }
  server_.misbehave("/", Misbehaviour::cut(5));
  EXPECT_EQ(plain_.get("/").result, CURLE_PARTIAL_FILE);
  EXPECT_EQ(plain_.get("/").body.size(), 5u);
}

TEST_F(ServerTest, ForgetsAMisbehaviourAfterItsTimesAndObeysTheControlAddress) {
  EXPECT_EQ(plain_.submit("/sandbox/misbehave", "path=*&kind=status&arg=500&times=2").status, 200);
  for (const long status : {500, 500, 200})
    EXPECT_EQ(client_.get("/").status, status);
  EXPECT_EQ(plain_.submit("/sandbox/misbehave", "path=*&kind=status&arg=70").status, 400);
  EXPECT_EQ(plain_.submit("/sandbox/misbehave", "path=*&kind=nonsense").status, 400);
  EXPECT_EQ(client_.get("/").status, 200);
}

TEST_F(ServerTest, GeneratesBodiesAndRedirectsToOrder) {
  EXPECT_EQ(client_.get("/bytes/1000001.json", authorised()).body.size(), 1'000'001u);
  EXPECT_EQ(client_.get("/redirect/307/http%3A%2F%2Fa%2Fb.json").location, "http://a/b");
  EXPECT_EQ(client_.get("/redirect/302/aHR0cDovL2EvYg.xml").location, "http://a/b");
  EXPECT_EQ(client_.get("/redirect/200/x.json").status, 400);
}

TEST(ServerLife, StopsUnderOpenConnectionsAndRisesOnTheSamePort) {
  Server first;
  first.misbehave("/silent", Misbehaviour::silent());
  TestClient idle(first);
  EXPECT_EQ(idle.get("/").status, 200);
  CURLcode silentResult = CURLE_OK;
  std::thread waiting([&] { silentResult = TestClient(first).get("/silent").result; });
  while (first.received().size() < 2)
    std::this_thread::sleep_for(milliseconds(5));
  EXPECT_EQ(first.openConnections(), 2u);
  first.stop();
  waiting.join();
  EXPECT_NE(silentResult, CURLE_OK);
  EXPECT_NE(silentResult, CURLE_OPERATION_TIMEDOUT);
  EXPECT_EQ(first.openConnections(), 0u);
  EXPECT_EQ(first.acceptedConnections(), 2u);

  const Server second({.port = first.port()});
  EXPECT_EQ(idle.get("/").status, 200) << "the certificate is still trusted";
  EXPECT_THROW(Server({.port = first.port()}), std::runtime_error);
}

} // namespace
} // namespace quarnet::sandbox
