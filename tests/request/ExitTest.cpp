#include "tests/support/LibraryTest.h"

#include <cstdio>
#include <map>

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;

/// The lines that a process writes which ends in the middle of its calls, and how often.
using Lines = std::map<std::string, int>;

class Exit : public LibraryTest {
protected:
  static void expectFrom(const std::string& words, const Lines& expected) {
    SCOPED_TRACE(words);
    const std::string command = "timeout 20 " EXITING_PROGRAM " " + server().host() + " " +
                                sandbox::Server::caFile() + " " + words;
    FILE* const program = popen(command.c_str(), "r");
    Lines lines;
    char line[256];
    while (fgets(line, sizeof(line), program) != nullptr)
      ++lines[line];
    EXPECT_EQ(WEXITSTATUS(pclose(program)), 3);
    EXPECT_EQ(lines, expected);
  }
};

TEST_F(Exit, ComesAtAnyTimeWithTheStatusThatWasMeant) {
  server().misbehave("/v1/slow.json", Misbehaviour::delay(std::chrono::milliseconds(20)));
  for (const std::string call :
       {"async POST", "async GET", "sync POST", "sync GET", "client GET"}) {
    for (const std::string when : {" firstInFlight ", " laterInFlight ", " done "}) {
      for (const std::string end : {"return", "inThread", "inCallback"})
        expectFrom(call + when + end, {});
    }
  }
}

TEST_F(Exit, CompletesEveryCall) {
  server().misbehave("/silent", Misbehaviour::silent());
  server().misbehave("/ok", Misbehaviour::body("ok"));
  const std::string ending = "The process is ending\n";
  expectFrom("slow", {{ending, 100}});
  expectFrom("resend", {{ending, 200}});
  expectFrom("inCompletion", {{ending, 100}});
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
  // A sanitizer has its locks in a child by its own ways.
  expectFrom("fork", {{ending, 101}, {"ok\n", 4}});
#endif
}

#if !defined(__SANITIZE_THREAD__) &&                                                               \
    !defined(__SANITIZE_ADDRESS__) // which take memory by their own
TEST_F(Exit, CompletesEveryCallWithoutMemory) {
  server().misbehave("/silent", Misbehaviour::silent());
  server().misbehave("/large", Misbehaviour::body(std::string(70 << 20, 'x')));
  server().misbehave("/ok", Misbehaviour::body("ok"));
  expectFrom("memory", {{"Not enough memory for the answer\n", 2}, {"ok\n", 3}});
  expectFrom("threads", {{"The request could not be sent: Resource temporarily unavailable\n", 1}});
}
#endif

} // namespace
} // namespace quarnet::test
