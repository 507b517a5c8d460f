// Ends in the middle of its calls, with exit status 3: exiting HOST CA-FILE CALL METHOD WHEN END.

#include "tests/support/Callbacks.h"

#include <cstdlib>
#include <string>
#include <thread>

using namespace quarnet;
using namespace std::chrono_literals;

namespace {

bool exitsInCallback = false;

struct App {
  int answers = 0;
  void answered(const ResultDictionary&) {
    ++answers;
    if (exitsInCallback) std::exit(3);
  }
};

RequestBundle bundleOf(const std::string& url, const std::string& method) {
  RequestBundle bundle;
  bundle.setUrl(url);
  bundle.setHttpMethod(method == "POST" ? HttpMethod::POST : HttpMethod::GET);
  return bundle;
}

} // namespace

int main(int, char** arguments) {
  const std::string host = arguments[1], caFile = arguments[2], call = arguments[3],
                    method = arguments[4], when = arguments[5], end = arguments[6];
  // The last that exit() runs: threads that are left have time to use what is gone by then.
  std::atexit([] { std::this_thread::sleep_for(100ms); });
  configureHosts({.api = host});
  platform::Platform::install({.httpClient = std::make_shared<platform::CurlHttpClient>(
                                   platform::CurlHttpClientOptions{.caFile = caFile}),
                               .log = std::make_shared<platform::NullLog>()});
  OAuthInfo::sharedInstance().setClientId("demo-client");
  static App app;
  static APIRequest request;
  request.setDelegateFinishedFailed(&app, &App::answered, &App::answered);

  const auto callAndWait = [&] {
    RequestBundle bundle = bundleOf("https://" + host + "/v1/quick", method);
    if (call == "sync") {
      request.requestError(bundle, nullptr);
    } else {
      request.aSyncRequest(bundle);
      platform::GlibMainThread::runUntil([] { return app.answers > 0; }, 10s);
    }
  };
  if (when != "firstInFlight") callAndWait();
  if (when != "done") {
    const std::string slow = "https://" + host + "/v1/slow";
    if (call == "sync") {
      for (int i = 0; i < 3; ++i) {
        std::thread([=] {
          for (APIRequest own;;) {
            RequestBundle bundle = bundleOf(slow, method);
            own.requestError(bundle, nullptr);
          }
        }).detach();
      }
      std::this_thread::sleep_for(50ms);
    } else {
      RequestBundle bundle = bundleOf(slow, method);
      request.aSyncRequest(bundle);
    }
  }
  if (end == "inThread") std::thread([] { std::exit(3); }).join();
  if (end == "inCallback") {
    exitsInCallback = true;
    app.answers = 0;
    RequestBundle bundle = bundleOf("https://" + host + "/v1/quick", method);
    request.aSyncRequest(bundle);
    platform::GlibMainThread::runUntil([] { return false; }, 10s);
  }
  return 3;
}
