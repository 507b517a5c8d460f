#include "quarnet/platform/curl/CurlHttpClient.h"

#include "quarnet/platform/curl/Connections.h"
#include "quarnet/platform/curl/HttpError.h"

#include <atomic>
#include <system_error>
#include <utility>

namespace quarnet::platform {

class CurlHttpClient::Implementation {
public:
  explicit Implementation(CurlHttpClientOptions options)
      : options_(std::move(options)), current_(new Connections(options_)) {}

  ~Implementation() {
    // A forked child must not touch what its parent still uses.
    if (!current_.load()->inherited()) delete current_.load();
  }

  Connections& connections() {
    Connections* current = current_.load(std::memory_order_acquire);
    if (!current->inherited()) return *current;
    auto own = std::make_unique<Connections>(options_);
    return current_.compare_exchange_strong(current, own.get()) ? *own.release() : *current;
  }

private:
  const CurlHttpClientOptions options_;
  std::atomic<Connections*> current_;
};

CurlHttpClient::CurlHttpClient(CurlHttpClientOptions options)
    : implementation_(std::make_unique<Implementation>(std::move(options))) {}

CurlHttpClient::~CurlHttpClient() = default;

HttpResult CurlHttpClient::sendSynchronously(const HttpRequest& request) noexcept {
  Connections& connections = implementation_->connections();
  Connections::Line line = connections.take(request.url);
  HttpResult result = line.sender->send(request);
  // After a failure there may be no connection; keeping such a line could drop one that has.
  if (!result.error) connections.giveBack(std::move(line));
  return result;
}

void CurlHttpClient::sendAsynchronously(std::shared_ptr<const HttpRequest> request,
                                        Completion completion) noexcept {
  Background* background = nullptr;
  try {
    background = &implementation_->connections().background();
  } catch (const std::system_error& error) {
    // There is no other thread to complete on.
    return completion(failedResult(CURLE_FAILED_INIT,
                                   std::string("The request could not be sent: ") + error.what()));
  }
  background->loop().submit({std::move(request), std::move(completion)});
}

void CurlHttpClient::openConnection(const std::string& url) noexcept {
  try {
    implementation_->connections().background().loop().openConnection(url);
  } catch (const std::exception&) {
    // The send itself reports that there is no thread or no memory.
  }
}

} // namespace quarnet::platform
