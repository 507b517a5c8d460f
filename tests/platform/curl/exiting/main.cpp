// Ends with calls under way, or sends when there is little memory; each completion writes its
// description as one line.

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace quarnet::platform;
using namespace std::chrono_literals;

namespace {

CurlHttpClient* client = nullptr;

void report(const HttpResult& result) {
  const std::string line = (result.error ? *result.error->description : result.body) + "\n";
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) std::abort();
}

std::shared_ptr<HttpRequest> requestFor(std::string url) {
  auto request = std::make_shared<HttpRequest>();
  request->url = std::move(url);
  return request;
}

void limitMemoryTo(std::size_t more) {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlimit limit{pages * 4096 + more, RLIM_INFINITY};
  setrlimit(RLIMIT_AS, &limit);
}

void sendWithLittleMemory(const std::string& server) {
  client->sendAsynchronously(requestFor(server + "ok"), report);
  std::this_thread::sleep_for(200ms);
  limitMemoryTo(40 << 20);
  for (const char* path : {"announced", "growing", "ok"}) {
    report(client->sendSynchronously(*requestFor(server + path)));
    client->sendAsynchronously(requestFor(server + path), report);
    std::this_thread::sleep_for(200ms);
  }
}

} // namespace

int main(int, char** arguments) {
  const std::string mode = arguments[1];
  const std::string server = arguments[2];
  // Kept to the end of the process, as the library's own client is.
  client = new CurlHttpClient({.maximumBodySize = SIZE_MAX});
  const auto silent = requestFor(server + "silent");

  if (mode == "threads") {
    limitMemoryTo(4 << 20); // too little for the stack of one
    client->sendAsynchronously(silent, report);
    return 0;
  }
  if (mode == "memory") {
    sendWithLittleMemory(server);
    return 0;
  }
  for (int i = 0; i < 100; ++i) {
    client->sendAsynchronously(silent, [=](const HttpResult& result) {
      if (mode == "slow" && i < 2) std::this_thread::sleep_for(700ms);
      report(result);
      if (mode == "resend") client->sendAsynchronously(silent, report);
      if (mode == "slow" && i == 0) throw std::runtime_error("meant");
    });
  }
  if (mode == "exitInCompletion") {
    client->sendAsynchronously(requestFor(arguments[3] + std::string("ok")),
                               [](const HttpResult&) { std::exit(0); });
    pause();
  }
  if (mode == "fork") {
    report(client->sendSynchronously(*requestFor(server + "ok")));
    if (const pid_t child = fork(); child != 0) {
      waitpid(child, nullptr, 0);
    } else {
      report(client->sendSynchronously(*requestFor(server + "ok")));
      client->sendAsynchronously(silent, report);
    }
    report(client->sendSynchronously(*requestFor(server + "ok")));
  }
  return 0;
}
