#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"
#include "tests/support/MemoryLimit.h"

#include "quarnet/login/OAuthClient.h"

namespace quarnet::test {
namespace {

using Memory = LibraryTest;

TEST_F(Memory, ACallThatIsTooLargeFailsAndTheNextSucceeds) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer takes its memory by other ways";
#endif
  constexpr std::size_t kLimit = std::size_t{32} << 20;
  const Error notEnough{"vornelAPIError", 1, "Not enough memory for the call"};
  signIn();
  platform::Platform::install({.httpClient = platform::Platform::current().httpClient,
                               .log = std::make_shared<platform::NullLog>()});
  RequestBundle payload = bundleOf(HttpMethod::POST);
  payload.setPayload(std::string(8 * kLimit, 'x'));
  RequestBundle file = bundleOf(HttpMethod::PUT);
  file.setUploadFilePath(makeFile("large.jpg", ""));
  std::filesystem::resize_file(*file.uploadFilePath(), 8 * kLimit);
  RequestBundle encrypted = bundleOf(HttpMethod::GET);
  encrypted.setParameters(Parameters{{"a", std::string(kLimit, 'x')}});
  RequestBundle escaped = bundleOf(HttpMethod::DELETE);
  const Parameters parameters = {{"a", "x y"}, {"b", std::string(kLimit, ' ')}};
  escaped.setParameters(parameters);

  Callbacks app;
  APIRequest request;
  request.setDelegateFinishedFailed(&app, &Callbacks::finished, &Callbacks::failed);
  std::optional<Error> error;
  for (RequestBundle* bundle : {&payload, &file, &encrypted, &escaped}) {
    std::optional<Error> prepared;
    std::optional<ResponseMessage> message;
    {
      const MemoryLimit limit(kLimit);
      message = request.requestError(*bundle, &error);
      request.aSyncRequest(*bundle);
      request._requestError(*bundle, &prepared);
    }
    ASSERT_TRUE(message);
    EXPECT_EQ(message->statusCode(), "0");
    EXPECT_EQ(error, notEnough);
    EXPECT_EQ(prepared, notEnough);
    ASSERT_TRUE(app.waitFor(1));
    EXPECT_FALSE(app.heard[0].finished);
    EXPECT_EQ(app.heard[0].result, outcome("0", "Not enough memory for the call", ""));
    app.heard.clear();
    error.reset();
  }
  EXPECT_TRUE(escaped.parameters() == parameters); // all are escaped or none
  EXPECT_EQ(escaped.url(), apiUrl("/v1/a"));

  Text url, enc;
  bool isReissued = true, isRevoked = true;
  std::optional<Data> cipherText;
  const Data answer = "{\"access_token\":\"" + *payload.payload() + "\"}";
  const Text token = record_.accessToken();
  {
    const MemoryLimit limit(kLimit);
    url = request.urlConverter(escaped);
    enc = request.encryptParamSwapKeyError(parameters.at("b"), nullptr, &error);
    cipherText = request.AES256EncryptWithKeyIvectorData("key", "iv", *payload.payload());
    manager_.setOAuthInfoWithJSON(answer);
    manager_.oAuthClient()->parseData(answer);
  }
  EXPECT_EQ(record_.accessToken(), token);
  record_.setAccessToken(payload.payload());
  record_.setRefreshToken(payload.payload());
  {
    const MemoryLimit limit(kLimit);
    isReissued = manager_.reissueAccessToken();
    isRevoked = manager_.revokeTokenToServer();
    manager_.logoutFinishedFailed(&app, &Callbacks::finished, &Callbacks::failed);
  }
  record_.setAccessToken(token);
  record_.setRefreshToken(token);
  EXPECT_FALSE(isReissued || isRevoked);
  ASSERT_TRUE(app.waitFor(1));
  EXPECT_FALSE(app.heard[0].finished);
  EXPECT_EQ(app.heard[0].result, outcome("", "Not enough memory for the call", ""));
  EXPECT_FALSE(url || enc || cipherText);
  EXPECT_EQ(error, notEnough);

  RequestBundle small = bundleOf(HttpMethod::POST);
  EXPECT_EQ(request.requestError(small, nullptr)->statusCode(), "200");
}

} // namespace
} // namespace quarnet::test
