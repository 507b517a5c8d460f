#pragma once

#include "quarnet/platform/curl/Share.h"
#include "quarnet/platform/curl/Transfer.h"

namespace quarnet::platform {

/// Makes synchronous sends, one at a time, and keeps its connections alive between them.
class Sender {
public:
  /// `trust` must outlive the sender.
  Sender(TrustStore& trust, std::size_t maximumBodySize);

  HttpResult send(const HttpRequest& request) noexcept;

private:
  CURLcode perform();

  Share share_;
  /// Holds the connections, so that they outlive a hop's handle.
  std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi_;
  Transfer transfer_;
};

} // namespace quarnet::platform
