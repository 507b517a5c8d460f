#include "sandbox/Text.h"
#include "tests/sandbox/TestClient.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace quarnet::sandbox {
namespace {

constexpr const char* kKeyPath = "/oauth/get_param_enc_key";

/// Runs a shell's command line and gives its exit status and what it wrote.
std::pair<int, std::string> run(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "r");
  std::string output;
  for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe))
    output += static_cast<char>(c);
  return {WEXITSTATUS(pclose(pipe)), output};
}

/// What the openssl program makes of the text under that key answer, in hexadecimal.
std::string encrypted(const Answer& key, const std::string& text) {
  std::string keyText = key.member("key");
  std::string ivText = key.member("iv");
  keyText.resize(32);
  ivText.resize(16);
  return run("printf %s '" + text + "' | openssl enc -aes-256-cbc -K " + hexEncoded(keyText) +
             " -iv " + hexEncoded(ivText) + " | od -An -v -tx1 | tr -d ' \\n'")
      .second;
}

class ServerTest : public testing::Test {
protected:
  std::vector<std::string> authorised() {
    return {"client_id: demo-client", "access_token: " + server_.issueTokens().accessToken,
            "swap_key: 5"};
  }
  /// The answer with a key for the calls with swap key 5.
  Answer key() { return plain_.post(kKeyPath, "swap_key=5&client_id=demo-client"); }

  Server server_;
  TestClient client_{server_};
  TestClient plain_{server_, "http://"};
};

TEST_F(ServerTest, OpensOnceWhatAnotherProgramEncryptedUnderKeysOfAnyLength) {
  for (const auto& [keyLength, ivLength] : {std::pair{32u, 16u}, {3u, 2u}, {0u, 0u}, {40u, 20u}}) {
    SCOPED_TRACE(keyLength);
    server_.misbehave(kKeyPath, Misbehaviour::keyTexts(keyLength, ivLength));
    const Answer first = key();
    const Answer second = key();
    std::string path;
    for (const Answer* const one : {&second, &first}) {
      ASSERT_EQ(one->member("key").size(), keyLength);
      ASSERT_EQ(one->member("iv").size(), ivLength);
      path = "/a.json?enc=" + encrypted(*one, "x=1&이름=%EA%B0%92%26&flag");
      const Answer answer = client_.get(path, authorised());
      EXPECT_NE(answer.body.find("\"parameters\":{\"x\":\"1\",\"이름\":\"값&\",\"flag\":null}"),
                std::string::npos)
          << answer.body;
    }
    EXPECT_EQ(client_.get(path, authorised()).status, 400) << "a key serves once";
  }
}

TEST_F(ServerTest, TurnsAwayWhatItShouldNotAnswer) {
  const std::string expired = server_.issueTokens("", std::chrono::seconds(0)).accessToken;
  const std::string live = server_.issueTokens().accessToken;
  const std::string id = "client_id: demo-client";
  key();
  const std::tuple<const char*, std::vector<std::string>, long> cases[] = {
      {"/a.json", {id}, 401},
      {"/a.json", {id, "access_token: " + expired}, 401},
      {"/a.xml", {"client_id: other", "access_token: " + live}, 401},
      {"/a", {id, "access_token: " + live}, 404},
      {"/missing/a.json", {id, "access_token: " + live}, 404},
      {"/redirect/200/x.json", {}, 400},
      {"/a.json?enc=xyz", {id, "access_token: " + live, "swap_key: 5"}, 400},
      {"/a.json?enc=00112233445566778899aabbccddeeff", {id, "access_token: " + live}, 400},
      {"/a.json?enc=0011223344", {id, "access_token: " + live, "swap_key: 5"}, 400},
  };
  for (const auto& [path, headers, status] : cases)
    EXPECT_EQ(client_.get(path, headers).status, status) << path;
}

TEST_F(ServerTest, KeepsOfFilesAndBigBodiesTheirSums) {
  const std::string part = "--a b\r\nContent-Disposition: form-data; name=\"image\"; "
                           "filename=\"p.jpg\"\r\n\r\n";
  const std::string upload = part + "abc\r\n" + part + "\r\n--a b--";
  client_.post("/a.json", upload, {"content-type: Multipart/Form-Data; boundary=\"a b\"; x=y"});
  client_.post("/b.json", std::string(2'000'000, 'a'));
  const auto received = server_.received();
  EXPECT_EQ(received.at(0).body, upload);
  ASSERT_EQ(received[0].uploads.size(), 2u);
  // Published sums of "abc" and of nothing (FIPS 180-4 examples).
  EXPECT_EQ(received[0].uploads[0].sha256,
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(received[0].uploads[1].sha256,
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(received.at(1).body, "");
  // head -c 2000000 /dev/zero | tr '\0' a | sha256sum
  EXPECT_EQ(received[1].bodySha256,
            "bcf7f9d1b4311c3352e60502255ce09a6744df84e8f2c89f79c4b5d74933a95a");
}

TEST_F(ServerTest, MisbehavesAsToldUntilItBehaves) {
  const std::tuple<Misbehaviour, CURLcode, long> cases[] = {
      {Misbehaviour::silent(), CURLE_OPERATION_TIMEDOUT, 0},
      {Misbehaviour::resetBody(), CURLE_RECV_ERROR, 200},
      {Misbehaviour::endless(), CURLE_OPERATION_TIMEDOUT, 200},
  };
  for (TestClient* const client : {&client_, &plain_}) {
    client->timeout = 400;
    for (const auto& [what, result, status] : cases) {
      server_.misbehave("/", what);
      const Answer answer = client->get("/");
      EXPECT_EQ(std::pair(answer.result, answer.status), std::pair(result, status));
      server_.behave();
      EXPECT_EQ(client->get("/").status, 200);
    }
  }
}

TEST_F(ServerTest, ForgetsAMisbehaviourAfterItsTimesAndObeysTheControlAddress) {
  const auto status = [this](const std::string& order) {
    return plain_.post("/sandbox/misbehave", order).status;
  };
  EXPECT_EQ(status("path=*&kind=status&arg=500&times=2"), 200);
  for (const long answered : {500, 500, 200})
    EXPECT_EQ(client_.get("/").status, answered);
  EXPECT_EQ(status("path=*&kind=status&arg=70"), 400);
  EXPECT_EQ(status("path=*&kind=nonsense"), 400);
  EXPECT_EQ(client_.get("/").status, 200);
}

TEST_F(ServerTest, GeneratesBodiesAndRedirectsToOrder) {
  EXPECT_EQ(client_.get("/bytes/1000001.json", authorised()).body.size(), 1'000'001u);
  EXPECT_EQ(client_.get("/redirect/307/http%3A%2F%2Fa%2Fb.json").location, "http://a/b");
  EXPECT_EQ(client_.get("/redirect/302/aHR0cDovL2EvYg.xml").location, "http://a/b");
}

TEST_F(ServerTest, RisesOnThePortThatItHadWithTheCertificateThatItHad) {
  EXPECT_EQ(client_.get("/").status, 200);
  server_.stop();
  const Server next({.port = server_.port()});
  EXPECT_EQ(client_.get("/").status, 200);
}

TEST_F(ServerTest, SaysAsAProgramInOneLineWhyItCannotStart) {
  for (const std::string& options :
       {std::to_string(server_.port()), std::string("0 --host nowhere"),
        std::string("0 --misbehave /a.json"), std::string("0 --misbehave /a=what"),
        std::string("0 --token-out /no/such/folder/file")}) {
    const auto [status, output] = run(SANDBOX_PROGRAM " --port " + options + " 2>&1");
    EXPECT_EQ(status, 1) << options;
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
  }
}

} // namespace
} // namespace quarnet::sandbox
