#include "WireServer.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <string_view>

namespace quarnet::test {
namespace {

struct Ending {
  const char* mode;
  int ended; // completions with "The process is ending"
  int ok;    // answers of the server
};

class ProcessEndTest : public testing::TestWithParam<Ending> {};

TEST_P(ProcessEndTest, EveryCallCompletesAndTheProcessLeavesCleanly) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  if (GetParam().mode == std::string_view("fork")) {
    GTEST_SKIP() << "a sanitizer's locks stay taken in the child of a process with threads";
  }
#endif
  WireServer server([](const std::string& request) {
    return request.starts_with("GET /ok") ? answer("ok") : WireServer::kSilence;
  });
  const std::string command =
      "timeout 20 " EXITING_PROGRAM " " + std::string(GetParam().mode) + " " + server.url();
  FILE* program = popen(command.c_str(), "r");
  std::map<std::string, int> lines;
  char line[256];
  while (fgets(line, sizeof(line), program) != nullptr)
    ++lines[line];
  EXPECT_EQ(pclose(program), 0);
  EXPECT_EQ(lines["The process is ending\n"], GetParam().ended);
  EXPECT_EQ(lines["ok\n"], GetParam().ok);
}

INSTANTIATE_TEST_SUITE_P(Modes, ProcessEndTest,
                         testing::Values(Ending{"inFlight", 100, 0}, Ending{"slow", 100, 0},
                                         Ending{"resend", 200, 0}, Ending{"throw", 100, 0},
                                         Ending{"sync", 100, 0}, Ending{"fork", 101, 4}),
                         [](const auto& tested) { return tested.param.mode; });

} // namespace
} // namespace quarnet::test
