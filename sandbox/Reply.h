#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarnet::sandbox {

/// One answer, and how it is to be delivered.
struct Reply {
  unsigned status = 200;
  std::string contentType = "text/plain; charset=utf-8";
  /// Besides those of the connection and the body.
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string body = {};
  std::uint64_t generated = 0; ///< bytes of made-up text that follow `body`

  enum class Delivery { whole, silent, reset, resetBody, cut, drop, endless };
  Delivery delivery = Delivery::whole;
  std::uint64_t cutAt = 0; ///< how much of the body a cut one has
  std::chrono::milliseconds delay{0};
};

/// A redirect; what may not stand in a header field is percent-escaped.
Reply redirectReply(unsigned status, std::string_view location);

} // namespace quarnet::sandbox
