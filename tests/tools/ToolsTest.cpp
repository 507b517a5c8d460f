// `quarnet` as a user runs it, against a sandbox in this process.

#include "tests/support/LibraryTest.h"
#include "tools/ProgressLine.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/wait.h>
#include <tuple>

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Matcher;
using ::testing::Not;

class ToolsTest : public LibraryTest {
protected:
  struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;
  };

  /// Runs the program as a shell does in the test's folder, with these words behind its name; $API
  /// is the server there, and `environment_` is added to the little that the program gets.
  Outcome run(const std::string& words, const std::string& input = {}) const {
    makeFile("in", input);
    std::ostringstream command;
    command << "cd " << folder_ << "; API=" << apiUrl("") << "; exec env -i "
            << R"(${TSAN_OPTIONS:+TSAN_OPTIONS="$TSAN_OPTIONS"} )" // a sanitizer keeps its options
            << "HOME=. QUARNET_STORE=store.sqlite QUARNET_API_HOST=" << server().host()
            << " QUARNET_CA_FILE=" << sandbox::Server::caFile()
            << " QUARNET_CLIENT_ID=demo-client QUARNET_CLIENT_SECRET=demo-secret " << environment_
            << " " QUARNET_PROGRAM " " << words << " <in >out 2>err";
    const int status = std::system(command.str().c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents("out"), contents("err")};
  }

  std::string contents(const char* file) const {
    std::ostringstream text;
    text << std::ifstream(folder_ / file, std::ios::binary).rdbuf();
    return text.str();
  }

  std::string environment_;
};

TEST_F(ToolsTest, ACallShowsItsAnswerAndTellsItsErrorByTheExitStatus) {
  signIn();
  dateIn2040(makeFile("사진 1.png", "x"));
  server().misbehave("/v1/odd.json", Misbehaviour::body("{\"t\":\"\x01\\\"\n\t한글\"}"));
  server().misbehave("/v1/binary.json", Misbehaviour::utf8());
  server().misbehave("/v1/short.json", Misbehaviour::body("ok"));
  server().misbehave("/v1/silent.json", Misbehaviour::silent());
  Misbehaviour busy = Misbehaviour::status(503);
  busy.times = 1;
  server().misbehave("/v1/busy.json", busy);
  const std::string line = R"({"statusCode":"200","resultMessage":"ok","error":null})";
  const struct {
    std::string words;
    int exitCode;
    std::string out;
    std::string err;
  } cases[] = {
      {"get $API/v1/a -p 'q=[1,2] 한글&=x' -p '[flag]'", 0,
       R"("parameters":{"[flag]":null,"q":"[1,2] 한글&=x"})", ""},
      {"DELETE $API/v1/a -p id=7", 0, R"("parameters":{"id":"7"})", ""},
      {R"(POST $API/v1/a --payload '{"name":"김하늘"}')", 0, "김하늘", ""},
      {"0 $API/v1/a --payload '' --request-type XML --response-type xml", 0, "<method>PUT</method>",
       ""},
      {"PUT $API/v1/a --upload '사진 1.png' --upload-key photo", 0,
       R"("field":"photo","filename":"사진 1.png")", ""},
      {"PUT $API/v1/a --client-id stranger", 6, "",
       "signed out: The server does not reissue the tokens any more: invalid_client (The client"},
      {"GET $API/v1/a --client-id stranger", 1, "",
       "nothing was sent: no key for the parameters: "},
      {"POST $API/v1/a -p a=b", 0, R"("result":"ok")", "note: PUT and POST do not send parameters"},
      {"DELETE $API/v1/a --payload x", 0, R"("result":"ok")",
       "note: GET and DELETE do not send a "},
      {"GET $API/v1/a --store none", 6, "", "signed out: Nobody is signed in; sign in with"},
      {"GET $API/missing/a", 1, "not_found", "the server answered 404"},
      {"GET $API/missing/a -i -o new", 1, "HTTP/1.1 404\nServer: quarnet-sandbox\n",
       "answered 404"},
      {"GET $API/missing/a --async --repeat 2", 1, "finished 0, failed 2, ",
       R"(the server answered 404: {"error":"not_found")"},
      {"GET $API/v1/silent --timeout 0.2", 1, "", "timed out"},
      {"GET $API/v1/busy --retry 20", 0, "ok", ""},
      {"POST $API/v1/short --payload x --async --repeat 3 --in-flight 2 --json", 0,
       line + "\n" + line + "\n" + line + "\n", "finished 3, failed 0, "},
      {"GET https://127.0.0.1:9/v1/a", 1, "", "no answer: "},
      {"4 $API/v1/a", 1, "", "invalid call: There is no such method"},
      {"GET $API/v1/odd --json", 0,
       R"({"statusCode":"200","resultMessage":"{\"t\":\"\u0001\\\"\n\u0009한글\"}","error":null})"
       "\n",
       ""},
      {"GET $API/v1/binary --json", 1, R"("resultMessage":null,"error":{"kind":"answer is not)",
       "the answer is not UTF-8 text and cannot be shown"},
      {"PUT $API/missing --json", 1,
       R"("error":{"kind":"refused","description":"The server refused the call"}})", "404"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.words);
    const Outcome outcome = run("request " + one.words);
    EXPECT_EQ(outcome.exitCode, one.exitCode);
    EXPECT_THAT(outcome.out, HasSubstr(one.out));
    EXPECT_THAT(outcome.err,
                one.err.empty() ? IsEmpty() : Matcher<std::string>(HasSubstr(one.err)));
  }
  EXPECT_FALSE(std::filesystem::exists(folder_ / "new"));
  environment_ = "QUARNET_CLIENT_ID=";
  EXPECT_THAT(run("request GET $API/v1/a").err,
              HasSubstr("give --client-id or set QUARNET_CLIENT_ID"));
}

TEST_F(ToolsTest, AnAnswerGoesToAFileWholeOrNotAtAll) {
  signIn();
  server().misbehave("/v1/binary.json", Misbehaviour::body("\xff\n"));
  const std::filesystem::path file = makeFile("file", "old");
  std::filesystem::permissions(file, std::filesystem::perms(0640));
  std::filesystem::create_symlink("file", folder_ / "link");
  EXPECT_EQ(run("request GET $API/missing -o link").exitCode, 1);
  EXPECT_EQ(contents("file"), "old");
  environment_ = R"(sh -c 'trap "" XFSZ; ulimit -f 40; exec "$@"' sh)"; // as a full disk
  EXPECT_THAT(run("request POST $API/bytes/100000 -o link").err, HasSubstr("cannot write link: "));
  EXPECT_EQ(contents("file"), "old");
  environment_.clear();
  EXPECT_EQ(run("request GET $API/v1/binary -o link").exitCode, 0);
  EXPECT_EQ(contents("file"), "\xff\n");
  EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "link"));
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
  EXPECT_EQ(run("request POST $API/v1/binary -o /dev/stdout").out, "\xff\n");
  std::filesystem::create_symlink("made", folder_ / "dangling");
  EXPECT_EQ(run("request POST $API/v1/binary -o dangling").exitCode, 0);
  EXPECT_EQ(contents("made"), "\xff\n");
  EXPECT_EQ(run("request POST $API/v1/binary -o " + std::string(255, 'n')).exitCode, 0);
  for (const auto& one : std::filesystem::directory_iterator(folder_))
    EXPECT_FALSE(one.path().filename().string().starts_with(".quarnet")) << one;
  const std::size_t calls = server().received().size();
  EXPECT_THAT(run("request POST $API/v1/a -o .").err, HasSubstr("it is a folder"));
  std::filesystem::create_symlink("circle", folder_ / "circle");
  EXPECT_EQ(run("request POST $API/v1/a -o circle").exitCode, 1);
  EXPECT_EQ(run("request POST $API/v1/a -o " + std::string(256, 'n')).exitCode, 1);
  EXPECT_EQ(server().received().size(), calls);
}

TEST(ProgressLineTest, SaysHowFarATransferHasComeInTheWidthThatThereIs) {
  const std::tuple<Progress, std::size_t, std::string> cases[] = {
      {{.toSend = 5}, 60, ""},
      {{.sent = 1023, .toSend = 1024}, 39, "sent 1023 B of 1.0 KiB [####### ]  99 %"},
      {{.sent = 3 << 20, .toSend = 4 << 20}, 39, "sent 3.0 MiB of 4.0 MiB  75 %"},
      {{.sent = 3 << 20, .toSend = 4 << 20}, 3, "sent 3.0 MiB of 4.0 MiB  75 %"},
      {{.sent = 9, .toSend = 9}, 60, "sent 9 B, waiting for the answer"},
      {{.sent = 9, .toSend = 9, .received = 1 << 20}, 60, "received 1.0 MiB"},
      {{.received = 9, .toReceive = 5}, 40, "received 9 B of 5 B [############] 100 %"}};
  for (const auto& [progress, width, text] : cases)
    EXPECT_EQ(tools::transferText(progress, width), text);
}

TEST_F(ToolsTest, TextsFromOutsideCannotCommandTheTerminal) {
  const std::string command = R"(\u001b]0;x\u0007\u007f\u009b31m\u0085é\u202e)";
  const std::string answer =
      R"({"access_token":"A","refresh_token":"R","scope":")" + command + "\"}";
  EXPECT_EQ(run("token import -", answer).exitCode, 0);
  EXPECT_THAT(run("token").out, HasSubstr("scope             ]0;x   31m é \n"));
  server().misbehave("/oauth/token", Misbehaviour::body(R"({"error":"e","refresh_token":"SECRET",)"
                                                        R"("error_description":")" +
                                                        command + "\"}"));
  const Outcome reissue = run("reissue");
  EXPECT_THAT(reissue.err, AllOf(HasSubstr(": e ( ]0;x   31m é )\n"), Not(HasSubstr("SECRET"))));
  const std::string plain(294, 'a');
  // Too long by its last characters.
  const std::string key = " -p '\x1b\xc2\x9b\xff\xc2" + plain + "한글'";
  EXPECT_EQ(run("request GET $API/" + key + key).err,
            "quarnet: the parameter   \ufffd\ufffd" + plain + " ... is given twice\n");
}

TEST_F(ToolsTest, StoredTokensAreMaskedUnlessAskedFor) {
  signIn();
  record_.setExpiresSystime("1300000000000");
  manager_.saveOAuthInfo();
  const auto secrets = AllOf(HasSubstr(*record_.accessToken()), HasSubstr(*record_.refreshToken()));
  const auto noSecret =
      AllOf(Not(HasSubstr(*record_.accessToken())), Not(HasSubstr(*record_.refreshToken())));
  EXPECT_EQ(run("token --json").out.substr(0, 38),
            R"({"signed_in":true,"access_token":")" + record_.accessToken()->substr(0, 4));
  const Outcome masked = run("token");
  EXPECT_EQ(masked.exitCode, 0);
  EXPECT_THAT(masked.out, AllOf(HasSubstr("access_token"), HasSubstr("3600"), HasSubstr("profile"),
                                noSecret, HasSubstr("(2042-03-13 ")));
  EXPECT_THAT(run("token --reveal").out, secrets);
  EXPECT_THAT(run("token --reveal --json").out,
              AllOf(secrets, HasSubstr(R"("expires":"2042-03-13T)")));
  EXPECT_THAT(run("request GET $API/v1/a -p k=v --log redacted").err,
              AllOf(HasSubstr("HTTPHeaderFields"), HasSubstr("encryptedString : "),
                    Not(HasSubstr("encryptedString : *")), noSecret));
}

TEST_F(ToolsTest, WhatIsNoTokenAnswerIsNotImported) {
  signIn();
  for (const std::string answer :
       {"", "<html>", "[]", "{}", "-- -", "-----BEGIN CERTIFICATE-----", R"({"x":01})",
        R"({"a":1e999})", R"({"access_token":""})", R"({"access_token":null})",
        R"-({"access_token":"(null)"})-", R"({"error":"invalid_grant","access_token":"x"})",
        R"({"access_token":"x")"}) {
    const Outcome outcome = run("token import -", answer);
    EXPECT_EQ(outcome.exitCode, 1) << answer;
    EXPECT_THAT(outcome.err, HasSubstr("nothing was imported")) << answer;
  }
  EXPECT_EQ(run("token import none.json").exitCode, 1);
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // which have the memory
  std::filesystem::resize_file(makeFile("large", ""), std::uintmax_t{1} << 30);
  environment_ = R"(sh -c 'ulimit -v 200000; exec "$@"' sh)";
  EXPECT_EQ(run("token import large").exitCode, 1);
  environment_.clear();
#endif
  EXPECT_EQ(stored("access_token"), record_.accessToken());

  const Outcome unsaved = run("token import - --store .", R"({"access_token":"A"})");
  EXPECT_EQ(unsaved.exitCode, 1);
  EXPECT_THAT(unsaved.err, HasSubstr("cannot be saved"));
  environment_ = R"(sh -c 'trap "" XFSZ; ulimit -f 4; exec "$@"' sh)"; // as a full disk
  EXPECT_EQ(run("logout").out, "");
  EXPECT_EQ(stored("access_token"), record_.accessToken());
}

TEST_F(ToolsTest, AReissueAndALogoutEndWithAClearReasonAndTellWhatIsStored) {
  const struct {
    const char* words;
    Misbehaviour answer; // the server's own, without a delay
    int exitCode;
    std::string err; // empty when all went well
    Text stored;     // absent for the token that was
  } cases[] = {
      {"reissue --client-secret wrong", {}, 6, "invalid_client", {}},
      {"reissue --api-host 127.0.0.1:9", {}, 1, "stay as they were: no connection: ", {}},
      {"reissue", Misbehaviour::body(R"({"error":"no access_token"})"), 6, "more: no access", {}},
      {"logout", {}, 0, "", ""},
      {"logout", Misbehaviour::body("no"), 1, "but the server did not confirm: The ser", ""},
      {"logout", Misbehaviour::reset(), 1, "dropped, but the server did not confirm: ", ""},
  };
  for (const std::string words : {"token", "reissue", "logout"})
    EXPECT_EQ(run(words).exitCode, 6) << words;
  for (const auto& one : cases) {
    SCOPED_TRACE(std::string(one.words) + ": " + one.err);
    signIn();
    server().behave();
    for (const char* path : {"/oauth/token", "/oauth/expireToken"})
      server().misbehave(path, one.answer);
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = run(one.words);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_EQ(outcome.exitCode, one.exitCode);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(one.err), Not(HasSubstr("(null)"))));
    EXPECT_EQ(stored("access_token"), one.stored ? one.stored : record_.accessToken());
  }
  signIn();
  server().behave();
  environment_ = "QUARNET_CLIENT_SECRET=wrong";
  EXPECT_THAT(run("reissue --client-secret-file -", "two\nlines").err,
              HasSubstr("is not one line"));
  makeFile("secret", "demo-secret\n");
  EXPECT_THAT(run("reissue --client-secret-file secret").err, HasSubstr("other users can read"));
  EXPECT_THAT(run("reissue --client-secret-file /dev/zero").err, HasSubstr("too large"));
  EXPECT_EQ(run("reissue --client-secret-file -", "\ufeffdemo-secret\r\n").exitCode, 0);
  EXPECT_NE(stored("access_token"), record_.accessToken());
  EXPECT_TRUE(server().tokenIsLive(*stored("access_token")));
}

TEST_F(ToolsTest, ALoginThatCannotShowItsWindowSaysWhatIsMissing) {
  const bool hasWindow = QUARNET_HAS_WINDOW;
  const std::pair<const char*, std::string> cases[] = {
      {"", "neither WAYLAND_DISPLAY nor DISPLAY is set"},
      {"DISPLAY=:4711", "the display :4711 (DISPLAY) cannot be opened"}};
  for (const auto& [display, err] : cases) {
    environment_ = display;
    const Outcome outcome = run("login");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(hasWindow ? err : "built without GTK"));
  }
}

TEST_F(ToolsTest, WrongUsageIsToldAndNothingIsSent) {
  for (const std::string words : {"",
                                  "frobnicate",
                                  "help frobnicate",
                                  "token --json import -",
                                  "completion tcsh",
                                  "request",
                                  "request GET $API/v1/a -H a:b",
                                  "request GET $API/v1/a --json -o x",
                                  "request FETCH $API/v1/a",
                                  "request -1 $API/v1/a",
                                  "request GET $API/v1/a -p a=1 -p a=2",
                                  "request GET $API/v1/a --response-type yaml",
                                  "request GET $API/v1/a --repeat 2",
                                  "request GET $API/v1/a --timeout 0",
                                  "request GET $API/v1/a --timeout 1s",
                                  "request GET $API/v1/a --timeout nan",
                                  "request GET $API/v1/a --retry -1",
                                  "request POST $API/v1/a --retry 1",
                                  "request GET $API/v1/a --async --in-flight 0",
                                  "request PUT $API/v1/a --upload none",
                                  "request PUT $API/v1/a --payload x --payload-file -",
                                  "request GET $API/v1/a --api-host https://api.example.org",
                                  "token --ca-file none",
                                  "token --log loud"}) {
    const Outcome outcome = run(words);
    EXPECT_EQ(outcome.exitCode, 2) << words;
    EXPECT_NE(outcome.err, "") << words;
  }
  EXPECT_TRUE(server().received().empty());
  const std::pair<const char*, const char*> meant[] = {
      {"requst GET", "did you mean request?"},
      {"re", "did you mean request or reissue?"},
      {"token improt x", "did you mean import?"},
      {"token --jsno", "did you mean --json?"},
      {"request --tiemout=1", "did you mean --timeout?"},
      {"'\x1b[31m'", "no command  [31m\n"}};
  for (const auto& [words, guess] : meant)
    EXPECT_THAT(run(words).err, HasSubstr(guess));
  EXPECT_EQ(run("help token import").out, run("token import --help").out);
  EXPECT_EQ(run("--version").out, "quarnet " + std::string(version()) + "\n");
  environment_ = "QUARNET_LOG=loud";
  EXPECT_EQ(run("--help").exitCode, 0);
  environment_ = R"(sh -c 'exec "$@" >/dev/full' sh)";
  EXPECT_EQ(run("help").exitCode + run("--help").exitCode, 2);
}

} // namespace
} // namespace quarnet::test
