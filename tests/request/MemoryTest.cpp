#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

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

using Memory = LibraryTest;

TEST_F(Memory, ACallThatIsTooLargeFailsAndTheNextSucceeds) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer has the memory";
  signIn();
  platform::Platform::install({.httpClient = platform::Platform::current().httpClient,
                               .log = std::make_shared<platform::NullLog>()});
  constexpr std::size_t kSize = std::size_t{256} << 20;
  RequestBundle tooLarge;
  tooLarge.setUrl(apiUrl("/v1/large"));
  tooLarge.setHttpMethod(HttpMethod::POST);
  tooLarge.setPayload(std::string(kSize, 'x'));
  RequestBundle encrypted;
  encrypted.setUrl(apiUrl("/v1/large"));
  encrypted.setHttpMethod(HttpMethod::GET);
  encrypted.setParameters(Parameters{{"a", std::string(kSize / 8, 'x')}});

  Callbacks app;
  APIRequest request;
  request.setDelegateFinishedFailed(&app, &Callbacks::finished, &Callbacks::failed);
  for (RequestBundle* bundle : {&tooLarge, &encrypted}) {
    std::optional<Error> error;
    std::optional<ResponseMessage> message;
    {
      const MemoryLimit limit(kSize / 8);
      message = request.requestError(*bundle, &error);
      request.aSyncRequest(*bundle);
    }
    ASSERT_TRUE(message);
    EXPECT_EQ(message->statusCode(), "0");
    EXPECT_EQ(error, (Error{"vornelAPIError", 1, "Not enough memory for the call"}));
    ASSERT_TRUE(app.waitFor(1));
    EXPECT_FALSE(app.heard[0].finished);
    EXPECT_EQ(app.heard[0].result, outcome("0", "Not enough memory for the call", ""));
    app.heard.clear();
  }

  RequestBundle small;
  small.setUrl(apiUrl("/v1/small"));
  small.setHttpMethod(HttpMethod::POST);
  std::optional<Error> error;
  request.requestError(small, &error);
  EXPECT_EQ(error, std::nullopt);
}

} // namespace
} // namespace quarnet::test
