#include "quarnet/platform/RedactingLog.h"

#include "quarnet/platform/Platform.h"

#include <gmock/gmock.h>
#include <stdexcept>
#include <vector>

using namespace quarnet::platform;
using testing::ElementsAre;

namespace {

class PiecesLog final : public Log {
public:
  void write(Line line) override {
    pieces.clear();
    for (const Piece& piece : line)
      pieces.emplace_back(piece.text);
  }
  std::vector<std::string> pieces;
};

struct LogTest : testing::Test {
  ~LogTest() override { Platform::install({}); }
};

TEST_F(LogTest, OnlyWhatIsMarkedAsHarmlessOrMissingIsShown) {
  const auto sink = std::make_shared<PiecesLog>();
  Platform::install({.log = std::make_shared<RedactingLog>(sink)});
  const std::string secret = "a \"secret\"";
  const char* bare = "bare";
  log("name : ", secret, ", ", harmless(secret), bare, std::string_view("x"), "", std::string(),
      "(null)", std::string("(null)"), std::string("(null) "));
  EXPECT_THAT(sink->pieces, ElementsAre("name : ", "***", ", ", secret, "***", "***", "", "",
                                        "(null)", "(null)", "***"));
}

class ThrowingLog final : public Log {
public:
  void write(Line) override { throw std::runtime_error("write"); }
  bool isOn() const override { throw 1; }
};

TEST_F(LogTest, ALogThatThrowsHarmsNobodyAndIsToldOnce) {
  Platform::install({.log = std::make_shared<RedactingLog>(std::make_shared<ThrowingLog>())});
  testing::internal::CaptureStderr();
  log("first");
  EXPECT_FALSE(isLogOn());
  log("second");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "quarnet: the log threw an exception\n");
}

} // namespace
