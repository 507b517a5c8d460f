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
  platform::HeaderFields authorised() {
    return {{"client_id", "demo-client"},
            {"access_token", server_.issueTokens().accessToken},
            {"swap_key", "5"}};
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
  const std::string token = server_.issueTokens().accessToken;
  const std::string old = server_.issueTokens("", std::chrono::seconds(0)).accessToken;
  const platform::HeaderFields::Field id = {"client_id", "demo-client"},
                                      swapKey = {"swap_key", "5"}, live = {"access_token", token},
                                      expired = {"access_token", old};
  key();
  const std::tuple<const char*, platform::HeaderFields, long> cases[] = {
      {"/a.json", {id}, 401},
      {"/a.json", {id, expired}, 401},
      {"/a.xml", {{"client_id", "other"}, live}, 401},
      {"/a", {id, live}, 404},
      {"/missing/a.json", {id, live}, 404},
      {"/redirect/200/x.json", {}, 400},
      {"/a.json?enc=xyz", {id, live, swapKey}, 400},
      {"/a.json?enc=00112233445566778899aabbccddeeff", {id, live}, 400},
      {"/a.json?enc=0011223344", {id, live, swapKey}, 400},
  };
  for (const auto& [path, headers, status] : cases)
    EXPECT_EQ(client_.get(path, headers).status, status) << path;
}

TEST_F(ServerTest, KeepsOfFilesAndBigBodiesTheirSums) {
  const std::string part = "--a b\r\nContent-Disposition: form-data; name=\"image\"; "
                           "filename=\"p.jpg\"\r\n\r\n";
  const std::string upload = part + "abc\r\n" + part + "\r\n--a b--";
  client_.post("/a.json", upload, {{"content-type", "Multipart/Form-Data; boundary=\"a b\"; x=y"}});
  client_.post("/b.json", std::string(2'000'000, 'a'));
  const auto received = server_.received();
  EXPECT_EQ(received.at(0).body, upload);
  EXPECT_EQ(received.at(1).body, "");
  // As sha256sum gives them of "abc", of nothing and of two million letters.
  const std::pair<std::string, std::string> sums[] = {
      {received[0].uploads.at(0).sha256,
       "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {received[0].uploads.at(1).sha256,
       "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {received[1].bodySha256, "bcf7f9d1b4311c3352e60502255ce09a6744df84e8f2c89f79c4b5d74933a95a"}};
  for (const auto& [sum, expected] : sums)
    EXPECT_EQ(sum, expected);
}

TEST_F(ServerTest, MisbehavesAsToldUntilItBehaves) {
  const std::tuple<Misbehaviour, std::string, long> cases[] = {
      {Misbehaviour::silent(), "timed out", 0},
      {Misbehaviour::resetBody(), "reset", 200},
      {Misbehaviour::endless(), "timed out", 200},
  };
  for (TestClient* const client : {&client_, &plain_}) {
    for (const auto& [what, problem, status] : cases) {
      server_.misbehave("/", what);
      client->timeout = std::chrono::milliseconds(problem == "reset" ? 5'000 : 800);
      const Answer answer = client->get("/");
      EXPECT_NE(answer.problem.find(problem), std::string::npos) << answer.problem;
      EXPECT_EQ(answer.status, status);
      server_.behave();
      client->timeout = std::chrono::seconds(5);
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
  const std::string end = "https%3A%2F%2F" + server_.host() + "%2Fb.json";
  EXPECT_EQ(client_.get("/redirect/307/" + end).target, "/b");
  const Answer nowhere =
      plain_.get("/redirect/302/aHR0cDovLzEyNy4wLjAuMToxLw.xml"); // http://127.0.0.1:1/
  EXPECT_NE(nowhere.problem.find("127.0.0.1 port 1"), std::string::npos) << nowhere.problem;
}

TEST_F(ServerTest, RisesOnThePortThatItHadWithTheCertificateThatItHad) {
  EXPECT_EQ(client_.get("/").status, 200);
  server_.stop();
  const Server next({.port = server_.port()});
  EXPECT_EQ(client_.get("/").status, 200);
}

TEST_F(ServerTest, SaysAsAProgramInOneLineWhyItCannotStart) {
  const std::pair<std::string, int> cases[] = {{std::to_string(server_.port()), 1},
                                               {"0 --host nowhere", 2},
                                               {"0 --misbehave /a.json", 2},
                                               {"0 --misbehave /a=what", 2},
                                               {"0 --token-out /no/such/folder/file", 1}};
  for (const auto& [options, expected] : cases) {
    const auto [status, output] = run(SANDBOX_PROGRAM " --port " + options + " 2>&1");
    EXPECT_EQ(status, expected) << options;
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
  }
}

} // namespace
} // namespace quarnet::sandbox
