#include "sandbox/Server.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quarnet::sandbox {
namespace {

struct Outcome {
  int status = 0;
  std::string output;
};

/// Runs the program through a shell, so that redirections work.
Outcome run(const std::string& arguments) {
  FILE* const pipe = popen((std::string(SANDBOX_PROGRAM) + " " + arguments).c_str(), "r");
  Outcome result;
  char piece[4096];
  while (const std::size_t length = fread(piece, 1, sizeof piece, pipe))
    result.output.append(piece, length);
  result.status = WEXITSTATUS(pclose(pipe));
  return result;
}

TEST(SandboxProgram, SaysInOneLineWhyItCannotStart) {
  const Server other;
  for (const std::string& arguments :
       {"--port " + std::to_string(other.port()), std::string("--port 0 --host nowhere"),
        std::string("--port 0 --misbehave /a.json"), std::string("--port 0 --misbehave /a=what"),
        std::string("--port 0 --token-out /no/such/folder/file")}) {
    const Outcome result = run(arguments + " 2>&1");
    EXPECT_EQ(result.status, 1) << arguments;
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
  }
}

TEST(SandboxProgram, SaysWhereItIsAndStopsCleanlyOnASignal) {
  const std::string greeting = testing::TempDir() + "greeting-" + std::to_string(getpid());
  const Outcome result = run("--port 0 --quiet >" + greeting +
                             " & for try in $(seq 300); do grep -q _CA_FILE= " + greeting +
                             " && break; sleep 0.1; done; kill -TERM $!; wait $!; status=$?; cat " +
                             greeting + "; rm " + greeting + "; exit $status");
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("QUARNET_API_HOST=127.0.0.1:"), std::string::npos);
  const std::size_t file = result.output.find("QUARNET_CA_FILE=") + 16;
  const std::string path = result.output.substr(file, result.output.find('\n', file) - file);
  EXPECT_NE(access(path.c_str(), F_OK), 0) << path << " is left behind";
}

} // namespace
} // namespace quarnet::sandbox
