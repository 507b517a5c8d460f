#include "bench/support/Child.h"

#include "bench/support/Failure.h"

#include <chrono>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quarnet::bench {

ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments) {
  int ends[2];
  check(pipe(ends) == 0, "a pipe can be made");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  posix_spawn_file_actions_addclose(&actions, ends[1]);

  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  check(posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0,
        program + " can be run");
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);

  ChildResult result;
  char piece[4096];
  for (ssize_t count = 0; (count = read(ends[0], piece, sizeof(piece))) > 0;) {
    if (result.output.empty()) {
      result.firstByte =
          std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    result.output.append(piece, static_cast<std::size_t>(count));
  }
  close(ends[0]);

  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  check(WIFEXITED(status) && WEXITSTATUS(status) == 0, program + " ended well");
  result.peakMemory = static_cast<double>(usage.ru_maxrss) * 1024;
  return result;
}

ChildResult runSelf(const std::vector<std::string>& arguments) {
  return runChild("/proc/self/exe", arguments);
}

} // namespace quarnet::bench
