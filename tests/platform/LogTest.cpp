#include "tests/login/LoginTest.h"

#include <stdexcept>

namespace quarnet::test {
namespace {

using platform::Log;
using platform::RedactingLog;
using sandbox::Misbehaviour;
using ::testing::HasSubstr;

using LogTest = LoginTest;

class RudeLog final : public Log {
public:
  void write(Line) override {
    // The first line is the store's complaint, under the lock of whoever saves.
    if (++lines == 1) OAuthInfoManager::sharedInstance().saveOAuthInfo();
    throw std::runtime_error("written");
  }
  bool isOn() const override { throw 1; }
  int lines = 0;
};

TEST_F(LogTest, MayThrowAndCallTheLibraryAsMayACallback) {
  const auto rude = std::make_shared<RudeLog>();
  use(&platform::Platform::log, std::make_shared<RedactingLog>(rude));
  std::filesystem::create_directory(storeFile());
  testing::internal::CaptureStderr();
  record_.setAccessToken("a");
  manager_.saveOAuthInfo();
  EXPECT_EQ(rude->lines, 2);
  EXPECT_FALSE(platform::isLogOn());

  platform::GlibMainThread mainThread;
  mainThread.post([] { throw std::runtime_error("one of the application's"); });
  mainThread.post([] { throw 2; });
  bool ran = false;
  mainThread.post([&ran] { ran = true; });
  EXPECT_TRUE(platform::GlibMainThread::runUntil([&] { return ran; }, 10s));
  EXPECT_EQ(rude->lines, 4);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "quarnet: the log threw an exception\n");
}

TEST_F(LogTest, OnlyWhatIsMarkedAsHarmlessOrMissingIsShown) {
  use(&platform::Platform::log, std::make_shared<RedactingLog>(log_));
  const std::string secret = "a";
  platform::log("name : ", secret, ", ", platform::harmless(secret), secret.c_str(), std::string(),
                std::string("(null)"), std::string_view("(null) "));
  EXPECT_EQ(log_->lines().back(), "name : ***, a***(null)***");
}

TEST_F(LogTest, ARedactedSessionShowsNoSecretAndAllElse) {
  // "Zq7" is in every secret, behind all that could be taken for its end.
  const std::string secret =
      R"('x'Zq7%22x%22Zq7","scope":"Zq7\"Zq7\\u0022&scope=Zq7#?Zq7, Accept: Zq7; {"a":	"Zq7"})";
  use(&platform::Platform::log, std::make_shared<RedactingLog>(log_));

  // A reissue that is refused, and a sign-in.
  record_.setAccessToken(secret);
  record_.setRefreshToken("Zq7");
  manager_.setClientSecret(secret);
  manager_.saveOAuthInfo();
  manager_.loginFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  toolkit_->advance(500ms);
  server().misbehave("*", Misbehaviour::body(R"({"access_token":"Zq7",
      "refresh_token":["{\"access_token\":\t\"Zq7\"}"],"expires_in":"3600\"Zq7",
      "scope":{"\\u0061ccess_token":"Zq7"},"body":{"key":"Zq7","iv":"Zq7"}})"));
  const auto page = toolkit_->webView();
  for (const char* url : {"HTTP://a-zA.Z0:9/Zq7", "https://h?Zq7", "https://u:Zq7@h/",
                          "https://h\\Zq7", "https://h:Zq7/", "about:Zq7", "Zq7://h/"})
    page->navigate(url);
  page->fail({.description = secret, .userInfo = secret});
  page->finish(completionUrl(secret));
  ASSERT_TRUE(app_.waitFor(1));
  manager_.setScope(record_.scope());
  manager_.getAccessTokenReissueURL();

  // Calls.
  APIRequest request;
  std::optional<Error> error;
  RequestBundle bundle = bundleOf(HttpMethod::GET, "/Zq7");
  bundle.setParameters(Parameters{{"Zq7", secret}});
  bundle.setPayload(secret);
  request.urlConverter(bundle);
  request.requestError(bundle, &error);
  request.setDelegateFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  request.aSyncRequestHTTPMethod(bundle, HttpMethod::POST);
  ASSERT_TRUE(app_.waitFor(2));
  bundle.setUploadFilePath(makeFile("Zq7", secret));
  bundle.setUploadFileKey("Zq7");
  request.requestURLHTTPMethodError(bundle, "Zq7://h", HttpMethod::PUT, &error);

  // A reissue that succeeds, log-outs that are refused and one that is not answered.
  manager_.reissueAccessToken();
  manager_.logout();
  manager_.logoutFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  platform::GlibMainThread().post([] { throw std::runtime_error("Zq7"); });
  ASSERT_TRUE(app_.waitFor(3));
  manager_.setError(secret);
  server().misbehave("*", Misbehaviour::reset());
  manager_.logoutFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  ASSERT_TRUE(app_.waitFor(4));

  std::string shown;
  for (const std::string& line : log_->lines())
    shown += line + '\n';
  EXPECT_EQ(shown.find("Zq7"), std::string::npos) << shown;
  for (const std::string& rest : std::vector<std::string>{
           apiUrl("/oauth/token?client_id=demo-client&client_secret=***&redirect_uri=about:blank"
                  "&grant_type=refresh_token&scope=profile&refresh_token=***\n"),
           "&client_secret=***&code=***&grant_type=authorization_code\n",
           "accessToken:***\nrefreshToken:***\nexpiresIn:(null)\nscope:(null)\n",
           "encryptedString : ***\n", "URL : HTTP://a-zA.Z0:9***\n", "URL : https://h***\n",
           "{Content-Type: application/json, swap_key: 1700000000250, client_id: demo-client, "
           "access_token: ***, refresh_token: ***, Accept: ",
           "\n401\nAPIRequest async data received\nphoto size : 84\n",
           "Error = " + app_.heard.back().result.at("RM")})
    EXPECT_THAT(shown, HasSubstr(rest));
}

} // namespace
} // namespace quarnet::test
