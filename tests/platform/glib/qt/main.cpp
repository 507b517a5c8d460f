// An application on Qt: it sets nothing up for the library, runs Qt's own loop, and must be called
// back once for each call, on its main thread, in turns with Qt's own events. Exits with 0 then.

#include "sandbox/Server.h"
#include "tests/support/Callbacks.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <cstdio>

using namespace quarnet;

int main(int argc, char** argv) {
  constexpr std::size_t kCalls = 500;
  const QCoreApplication qt(argc, argv);

  sandbox::Server server;
  platform::Platform::install({.httpClient = std::make_shared<platform::CurlHttpClient>(
                                   platform::CurlHttpClientOptions{.caFile = server.caFile()}),
                               .log = std::make_shared<platform::NullLog>()});
  OAuthInfo::sharedInstance().setClientId("demo-client");
  OAuthInfo::sharedInstance().setAccessToken(server.issueTokens().accessToken);

  test::Callbacks application;
  APIRequest request;
  request.setDelegateFinishedFailed(&application, &test::Callbacks::finished,
                                    &test::Callbacks::failed);
  QTimer::singleShot(0, [&] {
    for (std::size_t i = 0; i < kCalls; ++i) {
      RequestBundle bundle;
      bundle.setUrl("https://" + server.host() + "/v1/qt");
      bundle.setHttpMethod(HttpMethod::POST);
      request.aSyncRequest(bundle);
    }
  });
  int ticksBetween = 0;
  QTimer ticker;
  QObject::connect(&ticker, &QTimer::timeout, [&] {
    const std::size_t heard = application.heard.size();
    if (heard > 0 && heard < kCalls) ++ticksBetween;
    // A moment more, in which none may come twice.
    if (heard == kCalls) QTimer::singleShot(100, [] { QCoreApplication::quit(); });
  });
  ticker.start(1);
  QTimer::singleShot(60'000, [] { QCoreApplication::quit(); });
  QCoreApplication::exec();

  const auto& heard = application.heard;
  const auto finished =
      std::count_if(heard.begin(), heard.end(), [](const auto& one) { return one.finished; });
  std::printf("%zu callbacks, %td finished, %d on another thread, %d ticks of a Qt timer between\n",
              heard.size(), finished, application.onWrongThread, ticksBetween);
  return heard.size() == kCalls && finished == std::ssize(heard) &&
                 application.onWrongThread == 0 && ticksBetween > 0
             ? 0
             : 1;
}
