#pragma once

#include "quarnet/core/Types.h"

#include <curl/curl.h>
#include <memory>
#include <openssl/ssl.h>

namespace quarnet::platform {

/// The certificates that servers are checked against: the system's roots and those of one more
/// file.
///
/// Read once and shared by all connections of a client, so that a new connection does not read the
/// system's hundred and more roots again. Safe from any thread.
class TrustStore {
public:
  /// `caFile` is a PEM file; empty for none. A file that cannot be read leaves nothing trusted.
  explicit TrustStore(const std::string& caFile);

  /// Makes `easy` check its servers against this store, which must outlive it.
  void applyTo(CURL* easy);

  /// Why there is nothing to check against; absent when there is.
  const Text& problem() const { return problem_; }

private:
  std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> store_;
  Text problem_;
};

} // namespace quarnet::platform
