// Ends with asynchronous calls under way; each completion writes its description as one line.

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace quarnet::platform;

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

} // namespace

int main(int, char** arguments) {
  const std::string mode = arguments[1];
  const std::string server = arguments[2];
  // Kept to the end of the process, as the library's own client is.
  client = new CurlHttpClient;
  const auto silent = requestFor(server + "silent");

  for (int i = 0; i < 100; ++i) {
    client->sendAsynchronously(silent, [=](const HttpResult& result) {
      if (mode == "slow" && i < 2) std::this_thread::sleep_for(std::chrono::milliseconds(700));
      report(result);
      if (mode == "resend") client->sendAsynchronously(silent, report);
      if (mode == "throw" && i == 0) throw std::runtime_error("meant");
    });
  }
  if (mode == "sync") {
    std::thread([=] { client->sendSynchronously(*silent); }).detach();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
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
