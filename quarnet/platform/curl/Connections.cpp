#include "quarnet/platform/curl/Connections.h"

#include "quarnet/platform/curl/Origin.h"

#include <algorithm>
#include <iterator>
#include <openssl/ssl.h>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr std::size_t kMaximumIdleSenders = 16;

void initialiseLibraries() {
  static const bool done = [] {
    // Else OpenSSL would be taken down at exit under threads of the application that still send.
    OPENSSL_init_ssl(OPENSSL_INIT_NO_ATEXIT, nullptr);
    return curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  }();
  static_cast<void>(done);
}

} // namespace

Connections::Connections(const CurlHttpClientOptions& options)
    : maximumBodySize_(options.maximumBodySize), trust_((initialiseLibraries(), options.caFile)) {}

std::unique_ptr<Sender> Connections::take(std::string_view url) {
  const std::string_view origin = originIn(url);
  {
    const std::lock_guard lock(mutex_);
    const auto last = std::find_if(idle_.rbegin(), idle_.rend(),
                                   [origin](const Idle& idle) { return idle.origin == origin; });
    if (last != idle_.rend()) {
      auto sender = std::move(last->sender);
      idle_.erase(std::next(last).base());
      return sender;
    }
  }
  return std::make_unique<Sender>(trust_, maximumBodySize_);
}

void Connections::giveBack(std::unique_ptr<Sender> sender, std::string_view url) {
  Idle outlived; // ends without the lock
  Idle idle{std::string(originIn(url)), std::move(sender)};
  const std::lock_guard lock(mutex_);
  idle_.push_back(std::move(idle));
  if (idle_.size() <= kMaximumIdleSenders) return;
  outlived = std::move(idle_.front());
  idle_.erase(idle_.begin());
}

Background& Connections::background() {
  const std::lock_guard lock(mutex_);
  if (!background_) background_ = Background::make(trust_, maximumBodySize_);
  return *background_;
}

} // namespace quarnet::platform
