// Ends in the middle of its calls, with exit status 3: of the library, exiting HOST CA-FILE CALL
// METHOD WHEN END, or of the client below it, exiting HOST CA-FILE MODE. The client's completions
// write their outcomes, each as one line.

#include "tests/support/Callbacks.h"
#include "tests/support/MemoryLimit.h"

#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

using namespace quarnet;
using namespace quarnet::platform;
using namespace std::chrono_literals;

namespace {

std::string host;
/// Kept to the end of the process, as the library's own client is.
CurlHttpClient* client = nullptr;

struct Leaver {
  void leave(const ResultDictionary&) { std::exit(3); }
};

void callTheLibrary(const std::string& call, HttpMethod method, const std::string& when,
                    const std::string& end) {
  const auto bundleOf = [=](const std::string& path) {
    RequestBundle bundle;
    bundle.setUrl("https://" + host + path);
    bundle.setHttpMethod(method);
    return bundle;
  };
  static test::Callbacks app;
  APIRequest request;
  request.setDelegateFinishedFailed(&app, &test::Callbacks::finished, &test::Callbacks::failed);
  RequestBundle quick = bundleOf("/v1/quick"), slow = bundleOf("/v1/slow");
  if (when != "firstInFlight" && call == "sync") request.requestError(quick, nullptr);
  if (when != "firstInFlight" && call == "async") {
    request.aSyncRequest(quick);
    app.waitFor(1);
  }
  if (when != "done" && call == "async") request.aSyncRequest(slow);
  for (int i = 0; when != "done" && call == "sync" && i < 3; ++i) {
    std::thread([slow] {
      for (RequestBundle bundle = slow;; bundle = slow)
        APIRequest().requestError(bundle, nullptr);
    }).detach();
  }
  if (call == "sync") std::this_thread::sleep_for(30ms);
  if (end == "inThread") std::thread([] { std::exit(3); }).join();
  if (end == "inCallback") {
    Leaver leaver;
    request.setDelegateFinishedFailed(&leaver, &Leaver::leave, &Leaver::leave);
    RequestBundle last = bundleOf("/v1/last");
    request.aSyncRequest(last);
    app.waitFor(100);
  }
}

/// With calls at every stage, and handles that the program's end drops.
void callTheSecondFace(const std::string& when, const std::string& end) {
  // Ends after the library's threads.
  static const struct Last {
    ~Last() { (void)Client().signOut().wait(); }
  } last;
  static std::vector<Handle> kept;
  const std::string url = "https://" + host;
  const auto leave = [](const auto&) { std::exit(3); };
  for (int i = 0; i < 20; ++i) {
    kept.push_back(Client().send({.url = url + "/v1/slow"}).then([](const auto&) {}));
    Client().send({.url = "http://127.0.0.1:1/", .retry = {.attempts = 9, .first = 1ms}}).detach();
  }
  if (when == "laterInFlight") test::Callbacks::letPass(30ms);
  if (when == "done") (void)Client().send({.url = url + "/v1/quick"}).wait();
  if (end == "inThread") std::thread([] { std::exit(3); }).join();
  if (end != "inCallback") return;
  kept.push_back(Client().send({.method = HttpMethod::POST, .url = url + "/v1/last"}).then(leave));
  test::Callbacks::letPass(10s);
}

std::shared_ptr<HttpRequest> requestFor(const std::string& path) {
  return std::make_shared<HttpRequest>(HttpRequest{.url = "http://" + host + path});
}

void report(const HttpResult& result) {
  const std::string line = (result.error ? *result.error->description : result.body) + "\n";
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) std::abort();
}

void sendWithLittleMemory() {
  client->sendAsynchronously(requestFor("/ok"), report);
  std::this_thread::sleep_for(200ms);
  const test::MemoryLimit limit(40 << 20);
  for (const char* path : {"/large", "/ok"}) {
    report(client->sendSynchronously(*requestFor(path)));
    std::atomic<bool> isTold = false;
    client->sendAsynchronously(requestFor(path), [&](const HttpResult& result) {
      report(result);
      isTold = true;
    });
    while (!isTold)
      std::this_thread::sleep_for(1ms);
  }
}

void callTheClient(const std::string& mode) {
  const auto silent = requestFor("/silent");
  if (mode == "memory") return sendWithLittleMemory();
  if (mode == "threads") {
    const test::MemoryLimit limit(4 << 20); // too little for the stack of one
    return client->sendAsynchronously(silent, report);
  }
  for (int i = 0; i < 100; ++i) {
    client->sendAsynchronously(silent, [=](const HttpResult& result) {
      if (mode == "slow" && i < 2) std::this_thread::sleep_for(700ms);
      report(result);
      if (mode == "resend") client->sendAsynchronously(silent, report);
      if (mode == "slow" && i == 0) throw std::runtime_error("meant");
    });
  }
  if (mode == "inCompletion") {
    const auto elsewhere = requestFor("/ok"); // another host, where none of the others waits
    elsewhere->url = "https://localhost" + host.substr(host.find(':')) + "/ok";
    client->sendAsynchronously(elsewhere, [](const HttpResult&) { std::exit(3); });
    pause();
  }
  if (mode == "fork") {
    report(client->sendSynchronously(*requestFor("/ok")));
    if (const pid_t child = fork(); child != 0) {
      waitpid(child, nullptr, 0);
    } else {
      report(client->sendSynchronously(*requestFor("/ok")));
      client->sendAsynchronously(silent, report);
    }
    report(client->sendSynchronously(*requestFor("/ok")));
  }
}

} // namespace

int main(int count, char** arguments) {
  host = arguments[1];
  client = new CurlHttpClient({.caFile = arguments[2], .maximumBodySize = SIZE_MAX});
  // The last that exit() runs: threads that are left have time to use what is gone by then.
  std::atexit([] { std::this_thread::sleep_for(100ms); });
  if (count < 7) {
    callTheClient(arguments[3]);
    return 3;
  }
  configureHosts({.api = host});
  Platform::install(
      {.httpClient = std::shared_ptr<CurlHttpClient>(client), .log = std::make_shared<NullLog>()});
  OAuthInfo::sharedInstance().setClientId("demo-client");
  OAuthInfo::sharedInstance().setAccessToken("any");
  if (arguments[3] == std::string("client"))
    callTheSecondFace(arguments[5], arguments[6]);
  else
    callTheLibrary(arguments[3],
                   arguments[4] == std::string("POST") ? HttpMethod::POST : HttpMethod::GET,
                   arguments[5], arguments[6]);
  return 3;
}
