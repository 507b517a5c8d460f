#include "tests/support/LibraryTest.h"

#include <cstdlib>

namespace quarnet::test {
namespace {

using Exit = LibraryTest;

TEST_F(Exit, ComesAtAnyTimeWithTheStatusThatWasMeant) {
  server().misbehave("/v1/slow.json", sandbox::Misbehaviour::delay(std::chrono::milliseconds(20)));
  for (const std::string call : {"async POST", "async GET", "sync POST", "sync GET"}) {
    for (const std::string when : {" firstInFlight ", " laterInFlight ", " done "}) {
      for (const std::string end : {"return", "inThread", "inCallback"}) {
        const std::string words = call + when + end;
        const std::string command = "timeout 20 " EXITING_PROGRAM " " + server().host() + " " +
                                    sandbox::Server::caFile() + " " + words;
        const int status = std::system(command.c_str());
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 3) << words << " : " << status;
      }
    }
  }
}

} // namespace
} // namespace quarnet::test
