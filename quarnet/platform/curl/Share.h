#pragma once

#include <curl/curl.h>
#include <memory>
#include <new>

namespace quarnet::platform {

/// The TLS sessions that the libcurl handles of one sender or one loop share. For one thread at a
/// time, since it takes no locks.
class Share {
public:
  Share() : share_(curl_share_init(), curl_share_cleanup) {
    if (!share_) throw std::bad_alloc();
    curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
  }

  CURLSH* get() const { return share_.get(); }

private:
  std::unique_ptr<CURLSH, decltype(&curl_share_cleanup)> share_;
};

} // namespace quarnet::platform
