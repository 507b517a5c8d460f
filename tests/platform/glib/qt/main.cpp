// An application on Qt: it sets nothing up for the library, runs Qt's own loop, and must hear of
// each of its calls once, on its main thread, in turns with Qt's own events. Exits with 0 then.

#include "sandbox/Server.h"

#include "quarnet/quarnet.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <cstdio>

namespace {

constexpr int kCalls = 500;

class Application : public QObject {
public:
  explicit Application(const std::string& url) {
    request_.setDelegateFinishedFailed(this, &Application::finished, &Application::failed);
    QTimer::singleShot(0, this, [this, url] { send(url); });
    connect(&ticker_, &QTimer::timeout, this, [this] { ++ticks_; });
    ticker_.start(1);
    QTimer::singleShot(60'000, this, [] { QCoreApplication::exit(1); });
  }

  bool isContent() const { return finished_ == kCalls && failed_ == 0 && ticks_ > 0; }
  void tell() const {
    std::printf("%d finished, %d failed, %d ticks of a Qt timer meanwhile\n", finished_, failed_,
                ticks_);
  }

private:
  void send(const std::string& url) {
    for (int i = 0; i < kCalls; ++i) {
      quarnet::RequestBundle bundle;
      bundle.setUrl(url);
      bundle.setHttpMethod(quarnet::HttpMethod::POST);
      bundle.setPayload("{}");
      request_.aSyncRequest(bundle);
    }
  }

  void finished(const quarnet::ResultDictionary&) { heard(finished_); }
  void failed(const quarnet::ResultDictionary&) { heard(failed_); }
  void heard(int& counter) {
    if (QThread::currentThread() != thread()) QCoreApplication::exit(2);
    ++counter;
    // A moment more, in which none may come twice.
    if (finished_ + failed_ == kCalls) QTimer::singleShot(100, [] { QCoreApplication::quit(); });
  }

  quarnet::APIRequest request_;
  QTimer ticker_;
  int finished_ = 0;
  int failed_ = 0;
  int ticks_ = 0;
};

} // namespace

int main(int argc, char** argv) {
  const QCoreApplication qt(argc, argv);
  std::printf("Qt %s, event dispatcher %s\n", qVersion(),
              QAbstractEventDispatcher::instance()->metaObject()->className());

  quarnet::sandbox::Server server;
  quarnet::platform::Platform::install(
      {.httpClient = std::make_shared<quarnet::platform::CurlHttpClient>(
           quarnet::platform::CurlHttpClientOptions{.caFile = quarnet::sandbox::Server::caFile()}),
       .log = std::make_shared<quarnet::platform::NullLog>()});
  quarnet::OAuthInfo& record = quarnet::OAuthInfo::sharedInstance();
  record.setClientId("demo-client");
  record.setAccessToken(server.issueTokens().accessToken);
  const Application application("https://" + server.host() + "/v1/qt");
  const int status = QCoreApplication::exec();
  application.tell();
  return status == 0 && application.isContent() ? 0 : 1;
}
