#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"
#include "quarnet/platform/HeaderFields.h"

#include <chrono>
#include <memory>
#include <string>

namespace quarnet::platform {

/// How long a request of the library may take, from the start of the transfer to its end: a call,
/// the fetching of its one-time key, and each exchange with the token and revocation endpoints.
inline constexpr std::chrono::seconds kRequestTimeout{60};

/// One HTTP request (RFC 9110), ready to be sent.
struct QUARNET_EXPORT HttpRequest {
  /// The whole address, query included. One that cannot be parsed fails when it is sent.
  std::string url = {};
  /// Any token; GET, HEAD, PUT and DELETE may be sent again (see HttpClient).
  std::string method = "GET";
  /// Content-Length is not among those that are sent: the body's true size is.
  HeaderFields headerFields = {};
  /// The body, shared and not copied when it is sent; null for none.
  std::shared_ptr<const Data> body = nullptr;
  /// From the start of the transfer to its end.
  std::chrono::milliseconds timeout = kRequestTimeout;
};

} // namespace quarnet::platform
