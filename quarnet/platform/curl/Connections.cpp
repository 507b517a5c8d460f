#include "quarnet/platform/curl/Connections.h"

#include <openssl/ssl.h>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr std::size_t kMaximumIdleHandles = 8;

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

std::unique_ptr<Transfer> Connections::take() {
  {
    const std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      auto transfer = std::move(idle_.back());
      idle_.pop_back();
      return transfer;
    }
  }
  return std::make_unique<Transfer>(trust_, maximumBodySize_, Transfer::Kind::single);
}

void Connections::giveBack(std::unique_ptr<Transfer> transfer) {
  const std::lock_guard lock(mutex_);
  if (idle_.size() < kMaximumIdleHandles) idle_.push_back(std::move(transfer));
}

Background& Connections::background() {
  const std::lock_guard lock(mutex_);
  if (!background_) background_ = Background::make(trust_, maximumBodySize_);
  return *background_;
}

} // namespace quarnet::platform
