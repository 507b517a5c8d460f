// `quarnet` as a user runs it, against a sandbox in this process.

#include "sandbox/Server.h"
#include "tests/tools/Program.h"

#include "quarnet/quarnet.h"

#include <chrono>
#include <gmock/gmock.h>
#include <simdjson.h>

namespace quarnet::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr auto kNothingListens = "127.0.0.1:9";

class ToolsTest : public ::testing::Test {
protected:
  void SetUp() override {
    std::string name = std::filesystem::temp_directory_path() / "quarnet-test-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    environment_ = {{"HOME", folder_},
                    {"QUARNET_API_HOST", server_.host()},
                    {"QUARNET_CA_FILE", sandbox::Server::caFile()},
                    {"QUARNET_CLIENT_ID", "demo-client"},
                    {"QUARNET_CLIENT_SECRET", "demo-secret"},
                    {"QUARNET_STORE", folder_ / "store.sqlite"}};
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  Outcome run(const std::vector<std::string>& arguments, const std::string& input = {}) const {
    return runQuarnet(folder_, arguments, environment_, input);
  }
  sandbox::Tokens signIn() {
    sandbox::Tokens tokens = server_.issueTokens("profile");
    EXPECT_EQ(run({"token", "import", "-"}, tokens.json()).exitCode, 0);
    return tokens;
  }
  std::string url(const std::string& path) const { return "https://" + server_.host() + path; }
  Text stored(std::string_view key) const {
    return platform::SqliteUserDefaults(folder_ / "store.sqlite").value(key);
  }

  sandbox::Server server_;
  std::filesystem::path folder_;
  std::map<std::string, std::string> environment_;
  simdjson::dom::parser parser_;
};

TEST_F(ToolsTest, ACallShowsItsAnswerAndTellsItsErrorByTheExitStatus) {
  signIn();
  const std::string picture = folder_ / "사진 1.png";
  std::filesystem::copy_file(sandbox::Server::caFile(), picture);
  const struct {
    std::vector<std::string> arguments;
    int exitCode;
    std::string out;
    std::string err;
  } cases[] = {
      {{"get", url("/v1/a"), "-p", "q=[1,2] 한글&=x", "-p", "[flag]"},
       0,
       R"("parameters":{"[flag]":null,"q":"[1,2] 한글&=x"})",
       ""},
      {{"DELETE", url("/v1/a"), "-p", "id=7"}, 0, R"("parameters":{"id":"7"})", ""},
      {{"POST", url("/v1/a"), "--payload", R"({"name":"김하늘"})"}, 0, "김하늘", ""},
      {{"0", url("/v1/a"), "--payload", "", "--request-type", "XML", "--response-type", "xml"},
       0,
       "<method>PUT</method>",
       ""},
      {{"PUT", url("/v1/a"), "--upload", picture, "--upload-key", "photo"},
       0,
       R"("field":"photo","filename":"사진 1.png")",
       ""},
      {{"GET", url("/missing/a")}, 1, "not_found", "the server answered 404"},
      {{"GET", std::string("https://") + kNothingListens + "/v1/a"}, 1, "", "no answer: "},
      {{"4", url("/v1/a")}, 1, "", "HttpMethod is null"},
      {{"GET", ""}, 1, "", "Url is null or empty"},
  };
  for (const auto& one : cases) {
    std::vector<std::string> arguments = {"request"};
    arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, one.exitCode) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr(one.out));
    EXPECT_THAT(outcome.err, one.err.empty() ? ::testing::IsEmpty()
                                             : ::testing::Matcher<std::string>(HasSubstr(one.err)));
  }
}

TEST_F(ToolsTest, AnOutcomeIsOneLineOfJson) {
  signIn();
  const std::string text = "{\"t\":\"\x01\\\"\n\t한글\"}";
  server_.misbehave("/v1/odd.json", sandbox::Misbehaviour::parse("body", text));
  const Outcome odd = run({"request", "GET", url("/v1/odd"), "--json"});
  EXPECT_EQ(odd.exitCode, 0);
  ASSERT_EQ(odd.lines().size(), 1U);
  simdjson::dom::element line = parser_.parse(odd.out);
  EXPECT_EQ(std::string_view(line["resultMessage"]), text);
  EXPECT_EQ(std::string_view(line["statusCode"]), "200");
  EXPECT_TRUE(line["error"].is_null());

  server_.misbehave("/v1/binary.json", sandbox::Misbehaviour::utf8());
  line = parser_.parse(run({"request", "GET", url("/v1/binary"), "--json"}).out);
  EXPECT_TRUE(line["resultMessage"].is_null());

  line = parser_.parse(run({"request", "PUT", url("/missing"), "--json"}).out);
  EXPECT_EQ(std::string_view(line["error"]["domain"]), "vornelAPIError");
  EXPECT_EQ(std::int64_t(line["error"]["code"]), 1);
  EXPECT_TRUE(line["error"]["description"].is_null());

  environment_.erase("QUARNET_CLIENT_ID");
  const Outcome unknown = run({"request", "GET", url("/v1/a"), "--json"});
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_THAT(unknown.err, AllOf(HasSubstr("--client-id"), HasSubstr("QUARNET_CLIENT_ID")));
  line = parser_.parse(unknown.out);
  EXPECT_TRUE(line["statusCode"].is_null());
  EXPECT_EQ(std::string_view(line["error"]["domain"]), "VornelError005");
}

TEST_F(ToolsTest, AsynchronousCallsReportEveryCallbackAndSumUp) {
  signIn();
  const Outcome many = run({"request", "POST", url("/v1/a"), "--payload", "x", "--async",
                            "--repeat", "50", "--in-flight", "8", "--json"});
  EXPECT_EQ(many.exitCode, 0) << many.err;
  ASSERT_EQ(many.lines().size(), 50U);
  for (const std::string& text : many.lines()) {
    const simdjson::dom::element line = parser_.parse(text);
    EXPECT_EQ(std::string_view(line["operation"]), "finished");
    EXPECT_EQ(std::string_view(line["RC"]), "200");
    EXPECT_EQ(std::string_view(line["RM"]), "");
  }
  EXPECT_THAT(many.err, AllOf(HasSubstr("finished 50, failed 0"), HasSubstr("p99")));

  const Outcome missing = run({"request", "GET", url("/missing"), "--async"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_THAT(missing.err, AllOf(HasSubstr("(404)"), HasSubstr("not_found")));
}

TEST_F(ToolsTest, WhatAPersonWouldNotSeeOtherwiseIsTold) {
  signIn();
  server_.misbehave("/v1/binary.json", sandbox::Misbehaviour::utf8());
  server_.misbehave("/oauth/get_param_enc_key", sandbox::Misbehaviour::reset());
  const struct {
    std::vector<std::string> call;
    int exitCode;
    std::string err;
  } cases[] = {
      {{"PUT", url("/v1/binary")}, 1, "the answer is not UTF-8 text and cannot be shown"},
      {{"GET", url("/v1/a"), "-p", "a=b"},
       0,
       "note: the parameters were not sent: no key to encrypt them with could be had"},
      {{"POST", url("/v1/a"), "-p", "a=b"}, 0, "note: PUT and POST do not send parameters"}};
  for (const auto& one : cases) {
    for (const std::string mode : {"--upload-key=x", "--async"}) {
      std::vector<std::string> arguments = {"request", mode};
      arguments.insert(arguments.end(), one.call.begin(), one.call.end());
      const Outcome outcome = run(arguments);
      EXPECT_EQ(outcome.exitCode, one.exitCode) << mode;
      EXPECT_EQ(outcome.err, "quarnet: " + one.err + "\n") << mode;
    }
  }
}

TEST_F(ToolsTest, TextsFromOutsideCannotCommandTheTerminal) {
  const std::string command = R"(\u001b]0;x\u0007\u007f\u009b31m\u0085é)";
  const std::string answer =
      R"({"access_token":"A","refresh_token":"R","scope":")" + command + "\"}";
  EXPECT_EQ(run({"token", "import", "-"}, answer).exitCode, 0);
  EXPECT_THAT(run({"token"}).out, HasSubstr("scope             ]0;x   31m é\n"));
  server_.misbehave("/oauth/token", sandbox::Misbehaviour::parse(
                                        "body", R"({"error":"e","error_description":")" + command +
                                                    R"(","refresh_token":"SECRET"})"));
  const Outcome reissue = run({"reissue"});
  EXPECT_THAT(reissue.err, AllOf(HasSubstr("400: e ( ]0;x   31m é)\n"), Not(HasSubstr("SECRET"))));
  const std::string plain(294, 'a');
  const std::string key =
      "\x1b\xc2\x9b\xff\xc2" + plain + "한글"; // too long by its last characters
  EXPECT_EQ(run({"request", "GET", url("/"), "-p", key, "-p", key}).err,
            "quarnet: the parameter   \ufffd\ufffd" + plain + " ... is given twice\n");
}

TEST_F(ToolsTest, StoredTokensAreMaskedUnlessAskedFor) {
  const sandbox::Tokens tokens = signIn();
  const Outcome masked = run({"token"});
  EXPECT_EQ(masked.exitCode, 0);
  EXPECT_THAT(masked.out,
              AllOf(HasSubstr("access_token"), HasSubstr("3600"), HasSubstr("profile"),
                    Not(HasSubstr(tokens.accessToken)), Not(HasSubstr(tokens.refreshToken))));
  EXPECT_THAT(run({"token", "--reveal"}).out,
              AllOf(HasSubstr(tokens.accessToken), HasSubstr(tokens.refreshToken)));
  const Outcome logged = run({"request", "GET", url("/v1/a"), "-p", "k=v", "--log", "redacted"});
  EXPECT_THAT(logged.err,
              AllOf(HasSubstr("HTTPHeaderFields"), HasSubstr("encryptedString : "),
                    Not(HasSubstr("encryptedString : *")), Not(HasSubstr(tokens.accessToken)),
                    Not(HasSubstr(tokens.refreshToken))));
}

TEST_F(ToolsTest, WhatIsNoTokenAnswerIsNotImported) {
  const sandbox::Tokens tokens = signIn();
  for (const std::string answer :
       {"", "<html>", "[]", "{}", "-- -", "-----BEGIN CERTIFICATE-----", R"({"x":01})",
        R"({"a":1e999})", R"({"access_token":""})", R"({"access_token":null})",
        R"-({"access_token":"(null)"})-", R"({"error":"invalid_grant","access_token":"x"})",
        R"({"access_token":"x")"}) {
    const Outcome outcome = run({"token", "import", "-"}, answer);
    EXPECT_EQ(outcome.exitCode, 1) << answer;
    EXPECT_THAT(outcome.err, HasSubstr("nothing was imported")) << answer;
  }
  EXPECT_EQ(run({"token", "import", folder_ / "none.json"}).exitCode, 1);
  EXPECT_EQ(stored("access_token"), tokens.accessToken);

  std::filesystem::create_directory(folder_ / "occupied");
  const Outcome unsaved =
      run({"token", "import", "-", "--store", folder_ / "occupied"}, tokens.json());
  EXPECT_EQ(unsaved.exitCode, 1);
  EXPECT_THAT(unsaved.err, HasSubstr("cannot be saved"));
}

TEST_F(ToolsTest, AReissueSavesNewTokensOrLeavesTheOldOnes) {
  EXPECT_THAT(run({"reissue"}).err, HasSubstr("no refresh token is stored"));
  const sandbox::Tokens tokens = signIn();
  EXPECT_EQ(run({"reissue"}).exitCode, 0);
  const Text reissued = stored("access_token");
  EXPECT_NE(reissued, tokens.accessToken);
  EXPECT_TRUE(server_.tokenIsLive(*reissued));

  const Outcome refused = run({"reissue", "--client-secret", "wrong"});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, AllOf(HasSubstr("invalid_client"), Not(HasSubstr("(null)"))));
  EXPECT_THAT(run({"reissue", "--api-host", kNothingListens}).err, HasSubstr("no answer: "));
  EXPECT_EQ(stored("access_token"), reissued);

  server_.misbehave("/oauth/token",
                    sandbox::Misbehaviour::parse("body", R"({"error":"no access_token"})"));
  const Outcome fooled = run({"reissue"});
  EXPECT_EQ(fooled.exitCode, 1);
  EXPECT_THAT(fooled.err, HasSubstr("replaced by an answer without tokens"));
}

TEST_F(ToolsTest, ALogoutEndsWithAClearReasonAndTellsWhatIsStored) {
  const struct {
    bool asynchronous;
    std::string misbehaviour;
    int exitCode;
    std::string err;
    bool keepsTokens;
  } cases[] = {
      {false, "", 0, "", false},
      {false, "body:no", 1, "the server answered 200", true},
      {false, "reset", 1, "no answer: ", true},
      {true, "", 0, "", false},
      {true, "body:no", 1, "did not confirm; the server answered 200", false},
      {true, "reset", 1, "tokens stay stored; no answer: ", true},
      {true, "empty", 1, "the server answered 200 with nothing", true}, // without any callback
  };
  EXPECT_THAT(run({"logout"}).err, HasSubstr("nobody is signed in"));
  for (const auto& one : cases) {
    const sandbox::Tokens tokens = signIn();
    server_.behave();
    if (const auto colon = one.misbehaviour.find(':'); !one.misbehaviour.empty()) {
      server_.misbehave("/oauth/expireToken",
                        sandbox::Misbehaviour::parse(
                            one.misbehaviour.substr(0, colon),
                            colon == std::string::npos ? "" : one.misbehaviour.substr(colon + 1)));
    }
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = one.asynchronous ? run({"logout", "--async"}) : run({"logout"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_EQ(outcome.exitCode, one.exitCode) << one.misbehaviour;
    EXPECT_THAT(outcome.err, HasSubstr(one.err));
    EXPECT_EQ(stored("access_token"), one.keepsTokens ? tokens.accessToken : "");
  }
}

TEST_F(ToolsTest, ALoginThatCannotShowItsWindowSaysWhatIsMissing) {
  const bool hasWindow = QUARNET_HAS_WINDOW;
  const struct {
    std::string display;
    std::string err;
  } cases[] = {{"", "neither WAYLAND_DISPLAY nor DISPLAY is set"},
               {":4711", "the display :4711 (DISPLAY) cannot be opened"}};
  for (const auto& one : cases) {
    environment_["DISPLAY"] = one.display;
    const Outcome outcome = run({"login"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(hasWindow ? one.err : "built without GTK"));
  }
  EXPECT_EQ(server_.requestCount(), 0U);
}

TEST_F(ToolsTest, WrongUsageIsToldAndNothingIsSent) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"frobnicate"},
      {"request"},
      {"request", "FETCH", url("/v1/a")},
      {"request", "-1", url("/v1/a")},
      {"request", "GET", url("/v1/a"), "-p", "a=1", "-p", "a=2"},
      {"request", "GET", url("/v1/a"), "--response-type", "yaml"},
      {"request", "GET", url("/v1/a"), "--repeat", "2"},
      {"request", "GET", url("/v1/a"), "--async", "--in-flight", "0"},
      {"request", "PUT", url("/v1/a"), "--upload", folder_ / "none"},
      {"request", "PUT", url("/v1/a"), "--payload", "x", "--payload-file", "-"},
      {"request", "GET", url("/v1/a"), "--api-host", "https://api.example.org"},
      {"token", "--ca-file", folder_ / "none"},
      {"token", "--log", "loud"},
  };
  for (const auto& arguments : cases) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, 2) << ::testing::PrintToString(arguments);
    EXPECT_NE(outcome.err, "") << ::testing::PrintToString(arguments);
  }
  EXPECT_EQ(server_.requestCount(), 0U);
  EXPECT_EQ(run({"--help"}).exitCode, 0);
  EXPECT_EQ(run({"--version"}).out, "quarnet 1.0.0\n");
}

TEST_F(ToolsTest, AnOptionWinsOverItsVariable) {
  signIn();
  environment_["QUARNET_CLIENT_ID"] = "stranger";
  EXPECT_THAT(run({"request", "PUT", url("/v1/a")}).out, HasSubstr("invalid_client"));
  EXPECT_EQ(run({"request", "PUT", url("/v1/a"), "--client-id", "demo-client"}).exitCode, 0);
}

} // namespace
} // namespace quarnet::test
