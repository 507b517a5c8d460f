#include "WireServer.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>

namespace quarnet::test {
namespace {

TEST(ProcessEndTest, EveryCallCompletesAndTheProcessLeavesCleanly) {
  const std::string ending = "The process is ending\n";
  /// How the process ends, and how often each outcome is told.
  const std::pair<std::string, std::map<std::string, int>> cases[] = {
    {"slow", {{ending, 100}}},
    {"resend", {{ending, 200}}},
    {"throw", {{ending, 100}}},
    {"busy", {{ending, 100}}},
    {"exitElsewhere", {{ending, 100}}},
    {"exitInCompletion", {{ending, 100}}},
  // A sanitizer has its locks in a child, and takes its memory, by its own ways.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
    {"fork", {{ending, 101}, {"ok\n", 4}}},
    {"memory", {{"Not enough memory for the answer\n", 4}, {"ok\n", 3}}},
    {"threads", {{"The request could not be sent: Resource temporarily unavailable\n", 1}}},
#endif
  };
  const auto script = [](const std::string& request) -> std::string {
    if (request.starts_with("GET /ok")) return answer("ok");
    const std::string head = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
    if (request.starts_with("GET /growing")) return head + "\r\n" + std::string(70 << 20, 'x');
    // More than a text can have.
    if (request.starts_with("GET /announced")) {
      return head + "Content-Length: 9223372036854775807\r\n\r\nx";
    }
    return WireServer::kSilence;
  };
  WireServer server(script), other(script);
  for (const auto& [end, expected] : cases) {
    SCOPED_TRACE(end);
    const std::string command =
        "timeout 20 " EXITING_PROGRAM " " + end + " " + server.url() + " " + other.url();
    FILE* program = popen(command.c_str(), "r");
    std::map<std::string, int> lines;
    char line[256];
    while (fgets(line, sizeof(line), program) != nullptr)
      ++lines[line];
    EXPECT_EQ(pclose(program), 0);
    EXPECT_EQ(lines, expected);
  }
}

} // namespace
} // namespace quarnet::test
