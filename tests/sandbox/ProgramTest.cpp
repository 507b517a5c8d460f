#include "sandbox/Server.h"
#include "tests/sandbox/TestClient.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quarnet::sandbox {
namespace {

/// Runs a shell's command line and gives its exit status and what it wrote.
std::pair<int, std::string> run(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "r");
  std::string output;
  for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe))
    output += static_cast<char>(c);
  return {WEXITSTATUS(pclose(pipe)), output};
}

TEST(SandboxProgram, SaysInOneLineWhyItCannotStart) {
  const Server other;
  for (const std::string& arguments :
       {"--port " + std::to_string(other.port()), std::string("--port 0 --host nowhere"),
        std::string("--port 0 --misbehave /a.json"), std::string("--port 0 --misbehave /a=what"),
        std::string("--port 0 --token-out /no/such/folder/file")}) {
    const auto [status, output] = run(SANDBOX_PROGRAM " " + arguments + " 2>&1");
    EXPECT_EQ(status, 1) << arguments;
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
  }
}

TEST(SandboxProgram, SaysWhereItIsAndStopsCleanlyOnASignal) {
  const std::string greeting = testing::TempDir() + "greeting-" + std::to_string(getpid());
  const auto [status, output] =
      run(SANDBOX_PROGRAM " --port 0 --quiet >" + greeting +
          " & for try in $(seq 300); do grep -q _CA_FILE= " + greeting +
          " && break; sleep 0.1; done; kill -TERM $!; wait $!; status=$?; cat " + greeting +
          "; rm " + greeting + "; exit $status");
  EXPECT_EQ(status, 0);
  EXPECT_NE(output.find("QUARNET_API_HOST=127.0.0.1:"), std::string::npos);
  const std::string caFile = between(output, "QUARNET_CA_FILE=", "\n");
  EXPECT_NE(access(caFile.c_str(), F_OK), 0) << caFile << " is left behind";
}

} // namespace
} // namespace quarnet::sandbox
