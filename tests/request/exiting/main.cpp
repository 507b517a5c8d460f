// Ends in the middle of its calls, with exit status 3: exiting HOST CA-FILE CALL METHOD WHEN END.

#include "tests/support/Callbacks.h"

#include <cstdlib>
#include <string>

using namespace quarnet;
using namespace std::chrono_literals;

namespace {

struct Leaver {
  void leave(const ResultDictionary&) { std::exit(3); }
};

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

  const auto bundleOf = [=](const std::string& path) {
    RequestBundle bundle;
    bundle.setUrl("https://" + host + path);
    bundle.setHttpMethod(method == "POST" ? HttpMethod::POST : HttpMethod::GET);
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
  return 3;
}
