#include "quarnet/platform/curl/Connections.h"

#include "quarnet/platform/curl/Origin.h"

#include <algorithm>
#include <iterator>
#include <openssl/ssl.h>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr std::size_t kMaximumIdleLines = 16;

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

Connections::Line Connections::take(std::string_view url) {
  const std::string_view origin = originIn(url);
  {
    const std::lock_guard lock(mutex_);
    const auto last = std::find_if(idle_.rbegin(), idle_.rend(),
                                   [origin](const Line& line) { return line.origin == origin; });
    if (last != idle_.rend()) {
      Line line = std::move(*last);
      idle_.erase(std::next(last).base());
      return line;
    }
  }
  return {std::string(origin), std::make_unique<Sender>(trust_, maximumBodySize_)};
}

void Connections::giveBack(Line line) {
  Line oldest; // ends without the lock
  const std::lock_guard lock(mutex_);
  idle_.push_back(std::move(line));
  if (idle_.size() <= kMaximumIdleLines) return;
  oldest = std::move(idle_.front());
  idle_.erase(idle_.begin());
}

Background& Connections::background() {
  const std::lock_guard lock(mutex_);
  if (!background_) background_ = Background::make(trust_, maximumBodySize_);
  return *background_;
}

} // namespace quarnet::platform
