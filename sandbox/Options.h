#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace quarnet::sandbox {

/// How a server is set up; the defaults are what a demonstration needs.
struct Options {
  std::string address = "127.0.0.1"; ///< the certificate names 127.0.0.1, ::1 and localhost
  std::uint16_t port = 0;            ///< 0: a free one
  std::string clientId = "demo-client";
  std::string clientSecret = "demo-secret";
  std::string userName = "demo";
  std::string password = "demo";
  std::chrono::seconds accessTokenLifetime{3600};
  std::chrono::seconds refreshTokenLifetime{14 * 24 * 3600};
  unsigned threads = 2; ///< threads that serve connections, at least 1
  /// Gets one line a request, without secrets; called from any thread, one call at a time.
  std::function<void(const std::string& line)> log = {};
};

} // namespace quarnet::sandbox
