#include "quarnet/platform/curl/Sender.h"

namespace quarnet::platform {
namespace {

constexpr long kMaximumConnections = 5;
constexpr int kLongestSleepInMilliseconds = 1'000;

} // namespace

Sender::Sender(TrustStore& trust, std::size_t maximumBodySize)
    : multi_(curl_multi_init(), curl_multi_cleanup),
      transfer_(trust, maximumBodySize, share_.get(), nullptr, nullptr) {
  if (!multi_) throw std::bad_alloc();
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, kMaximumConnections);
}

HttpResult Sender::send(const HttpRequest& request) noexcept {
  bool isRunning = transfer_.begin(request);
  while (isRunning)
    isRunning = transfer_.advance(perform());
  return transfer_.takeResult();
}

CURLcode Sender::perform() {
  CURL* const easy = transfer_.easy();
  int running = 0;
  CURLMcode problem = curl_multi_add_handle(multi_.get(), easy);
  if (problem == CURLM_OK) problem = curl_multi_perform(multi_.get(), &running);
  while (problem == CURLM_OK && running > 0) {
    problem = curl_multi_poll(multi_.get(), nullptr, 0, kLongestSleepInMilliseconds, nullptr);
    if (problem == CURLM_OK) problem = curl_multi_perform(multi_.get(), &running);
  }
  int left = 0;
  const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left);
  const CURLcode code = message != nullptr ? message->data.result : CURLE_FAILED_INIT;
  curl_multi_remove_handle(multi_.get(), easy);
  return code;
}

} // namespace quarnet::platform
