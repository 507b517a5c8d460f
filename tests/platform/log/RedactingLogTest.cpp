#include "tests/support/LibraryTest.h"

#include <functional>
#include <gmock/gmock.h>

namespace quarnet::test {
namespace {

using namespace platform;
using ::testing::ElementsAre;

class Sink final : public Log {
public:
  explicit Sink(std::function<bool(Line)> called) : called_(std::move(called)) {}
  void write(Line line) override { called_(line); }
  bool isOn() const override { return called_({}); }

private:
  std::function<bool(Line)> called_;
};

void installRedacted(std::function<bool(Log::Line)> sink) {
  Platform::install({.userDefaults = std::make_shared<SqliteUserDefaults>("/dev/null/store"),
                     .log = std::make_shared<RedactingLog>(std::make_shared<Sink>(sink))});
}

TEST(RedactingLog, ShowsOnlyWhatIsMarkedAsHarmlessOrMissing) {
  std::vector<std::string> pieces;
  installRedacted([&pieces](Log::Line line) {
    for (const Log::Piece& piece : line)
      pieces.emplace_back(piece.text);
    return true;
  });
  const std::string secret = "a";
  log("name : ", secret, ", ", harmless(secret), secret.c_str(), std::string_view(secret),
      std::string(), "(null)", std::string("(null)"), std::string("(null) "));
  EXPECT_THAT(pieces, ElementsAre("name : ", "***", ", ", "a", "***", "***", "", "(null)", "(null)",
                                  "***"));
}

TEST(Log, MayThrowAndCallTheLibraryAsMayACallback) {
  int lines = 0;
  installRedacted([&lines](Log::Line) -> bool {
    // The store's complaint, under the lock of whoever saves.
    if (++lines == 1) OAuthInfoManager::sharedInstance().saveOAuthInfo();
    throw std::runtime_error("written");
  });
  testing::internal::CaptureStderr();
  OAuthInfo::sharedInstance().setAccessToken("a");
  OAuthInfoManager::sharedInstance().saveOAuthInfo();
  EXPECT_EQ(lines, 2);
  EXPECT_FALSE(isLogOn());

  GlibMainThread mainThread;
  mainThread.post([] { throw std::runtime_error("one of the application's"); });
  mainThread.post([] { throw 2; });
  bool ran = false;
  mainThread.post([&ran] { ran = true; });
  EXPECT_TRUE(GlibMainThread::runUntil([&ran] { return ran; }, std::chrono::milliseconds::max()));
  EXPECT_EQ(lines, 5);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "quarnet: the log threw an exception\n");
}

} // namespace
} // namespace quarnet::test
