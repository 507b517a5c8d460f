#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include "quarnet/login/OAuthClient.h"

#include <fstream>
#include <sys/resource.h>

namespace quarnet::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true; // takes its memory by other ways
#else
constexpr bool kSanitized = false;
#endif

/// Lets the process have that much more memory than it has while the object lives.
class MemoryLimit {
public:
  explicit MemoryLimit(std::size_t more) {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    getrlimit(RLIMIT_AS, &before_);
    const rlimit limit{pages * 4096 + more, before_.rlim_max};
    setrlimit(RLIMIT_AS, &limit);
  }
  ~MemoryLimit() { setrlimit(RLIMIT_AS, &before_); }

private:
  rlimit before_{};
};

constexpr std::size_t kLimit = std::size_t{32} << 20;
const Error kNotEnough{"vornelAPIError", 1, "Not enough memory for the call"};

class Memory : public LibraryTest {
protected:
  void SetUp() override {
    if (kSanitized) GTEST_SKIP() << "the sanitizer has the memory";
    LibraryTest::SetUp();
    signIn();
    platform::Platform::install({.httpClient = platform::Platform::current().httpClient,
                                 .log = std::make_shared<platform::NullLog>()});
  }

  static RequestBundle bundleOf(HttpMethod method) {
    RequestBundle bundle;
    bundle.setUrl(apiUrl("/v1/a"));
    bundle.setHttpMethod(method);
    return bundle;
  }

  APIRequest request_;
};

TEST_F(Memory, ACallThatIsTooLargeFailsAndTheNextSucceeds) {
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
  request_.setDelegateFinishedFailed(&app, &Callbacks::finished, &Callbacks::failed);
  for (RequestBundle* bundle : {&payload, &file, &encrypted, &escaped}) {
    std::optional<Error> error;
    std::optional<Error> prepared;
    std::optional<ResponseMessage> message;
    {
      const MemoryLimit limit(kLimit);
      message = request_.requestError(*bundle, &error);
      request_.aSyncRequest(*bundle);
      request_._requestError(*bundle, &prepared);
    }
    ASSERT_TRUE(message);
    EXPECT_EQ(message->statusCode(), "0");
    EXPECT_EQ(error, kNotEnough);
    EXPECT_EQ(prepared, kNotEnough);
    ASSERT_TRUE(app.waitFor(1));
    EXPECT_FALSE(app.heard[0].finished);
    EXPECT_EQ(app.heard[0].result, outcome("0", "Not enough memory for the call", ""));
    app.heard.clear();
  }
  EXPECT_TRUE(escaped.parameters() == parameters); // all are escaped or none
  EXPECT_EQ(escaped.url(), apiUrl("/v1/a"));

  RequestBundle small = bundleOf(HttpMethod::POST);
  std::optional<Error> error;
  request_.requestError(small, &error);
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(Memory, NoOperationThrowsForWantOfIt) {
  RequestBundle bundle = bundleOf(HttpMethod::GET);
  bundle.setParameters(Parameters{{"a", std::string(2 * kLimit, ' ')}});
  const Text& text = bundle.parameters()->at("a");
  std::optional<Error> error;
  Text url = "set", enc = "set";
  std::optional<Data> cipherText = "set";
  const Data answer = "{\"access_token\":\"" + *text + "\"}";
  const Text token = record_.accessToken();
  {
    const MemoryLimit limit(kLimit);
    url = request_.urlConverter(bundle);
    enc = request_.encryptParamSwapKeyError(text, nullptr, &error);
    cipherText = request_.AES256EncryptWithKeyIvectorData("key", "iv", *text);
    manager_.setOAuthInfoWithJSON(answer);
    manager_.oAuthClient()->parseData(answer);
  }
  EXPECT_EQ(record_.accessToken(), token);
  EXPECT_FALSE(url || enc || cipherText);
  EXPECT_EQ(error, kNotEnough);
}

} // namespace
} // namespace quarnet::test
