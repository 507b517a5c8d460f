// An application on Qt: it sets nothing up for the library, or a main thread of five lines where
// Qt's loop is not GLib's, runs Qt's own loop, and must be called back once for each call, on its
// main thread, in turns with Qt's own events. Exits with 0 then.

#include "QtMainThread.h"
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
  const bool hasGlib = qEnvironmentVariableIsEmpty("QT_NO_GLIB");
  platform::Platform::install({.httpClient = std::make_shared<platform::CurlHttpClient>(
                                   platform::CurlHttpClientOptions{.caFile = server.caFile()}),
                               .mainThread = hasGlib ? nullptr : std::make_shared<QtMainThread>(),
                               .log = std::make_shared<platform::NullLog>()});
  OAuthInfo::sharedInstance().setClientId("demo-client");
  OAuthInfo::sharedInstance().setAccessToken(server.issueTokens().accessToken);

  Client client;
  std::vector<Handle> calls;
  std::size_t answered = 0;
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
      calls.push_back(client.send({.method = HttpMethod::POST, .url = bundle.url().value_or("")})
                          .then([&](const Result<Answer>& answer) { answered += answer ? 1 : 0; }));
    }
  });
  int ticksBetween = 0;
  QTimer ticker;
  QObject::connect(&ticker, &QTimer::timeout, [&] {
    const std::size_t heard = application.heard.size();
    if (heard > 0 && heard < kCalls) ++ticksBetween;
    // A moment more, in which none may come twice.
    if (heard == kCalls && answered == kCalls)
      QTimer::singleShot(100, [] { QCoreApplication::quit(); });
  });
  ticker.start(1);
  QTimer::singleShot(60'000, [] { QCoreApplication::quit(); });
  QCoreApplication::exec();

  const auto& heard = application.heard;
  const auto finished =
      std::count_if(heard.begin(), heard.end(), [](const auto& one) { return one.finished; });
  std::printf("%zu callbacks, %td finished, %zu answered, %d on another thread, %d ticks of a Qt "
              "timer between\n",
              heard.size(), finished, answered, application.onWrongThread, ticksBetween);
  return heard.size() == kCalls && finished == std::ssize(heard) && answered == kCalls &&
                 application.onWrongThread == 0 && ticksBetween > 0
             ? 0
             : 1;
}
