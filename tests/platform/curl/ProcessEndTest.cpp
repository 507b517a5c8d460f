#include "Nginx.h"
#include "WireServer.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>

namespace quarnet::test {
namespace {

struct Ending {
  std::string mode;
  /// How often each line was written: outcomes of calls.
  std::map<std::string, int> lines;
};

class ProcessEndTest : public testing::TestWithParam<Ending> {};

TEST_P(ProcessEndTest, EveryCallCompletesAndTheProcessLeavesCleanly) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  if (std::set<std::string>{"fork", "memory", "threads"}.contains(GetParam().mode)) {
    GTEST_SKIP() << "a sanitizer has its locks in a child, and takes its memory, by its own ways";
  }
#endif
  WireServer server([](const std::string& request) {
    if (request.starts_with("GET /ok")) return answer("ok");
    const std::string head = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
    if (request.starts_with("GET /growing")) return head + "\r\n" + std::string(70 << 20, 'x');
    // More than a text can have.
    if (request.starts_with("GET /announced")) {
      return head + "Content-Length: 9223372036854775807\r\n\r\nx";
    }
    return std::string(WireServer::kSilence);
  });
  Nginx encrypted;
  const std::string command = "timeout 20 " EXITING_PROGRAM " " + GetParam().mode + " " +
                              server.url() + " " + encrypted.httpsUrl() + " " + encrypted.caFile();
  FILE* program = popen(command.c_str(), "r");
  std::map<std::string, int> lines;
  char line[256];
  while (fgets(line, sizeof(line), program) != nullptr)
    ++lines[line];
  EXPECT_EQ(pclose(program), 0);
  EXPECT_EQ(lines, GetParam().lines);
}

const std::string kEnding = "The process is ending\n";
const std::string kTooLarge = "Not enough memory for the answer\n";
const std::string kNoThread = "The request could not be sent: Resource temporarily unavailable\n";

INSTANTIATE_TEST_SUITE_P(
    Modes, ProcessEndTest,
    testing::Values(Ending{"inFlight", {{kEnding, 100}}}, Ending{"slow", {{kEnding, 100}}},
                    Ending{"resend", {{kEnding, 200}}}, Ending{"throw", {{kEnding, 100}}},
                    Ending{"sync", {{kEnding, 100}}}, Ending{"busy", {{kEnding, 100}}},
                    Ending{"exitElsewhere", {{kEnding, 100}}},
                    Ending{"exitInCompletion", {{kEnding, 100}}},
                    Ending{"fork", {{kEnding, 101}, {"ok\n", 4}}},
                    Ending{"memory", {{kTooLarge, 4}, {"ok\n", 3}}},
                    Ending{"threads", {{kNoThread, 1}}}),
    [](const auto& tested) { return tested.param.mode; });

} // namespace
} // namespace quarnet::test
