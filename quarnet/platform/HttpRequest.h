#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"
#include "quarnet/platform/HeaderFields.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace quarnet::platform {

/// How long a request of the library may take, from the start of the transfer to its end: a call,
/// the fetching of its one-time key, and each exchange with the token and revocation endpoints.
inline constexpr std::chrono::seconds kRequestTimeout{60};

/// How far a request has come, in bytes of bodies.
struct HttpProgress {
  /// What of the body was sent.
  std::uint64_t sent = 0;
  /// The body's size.
  std::uint64_t toSend = 0;
  /// What of the answer's body has arrived.
  std::uint64_t received = 0;
  /// The size of the answer's body; 0 while the answer's size is not known.
  std::uint64_t toReceive = 0;
};

/// One HTTP request (RFC 9110), ready to be sent.
struct QUARNET_EXPORT HttpRequest {
  /// The whole address, query included. One that cannot be parsed fails when it is sent.
  std::string url = {};
  /// Any token; GET, HEAD, PUT and DELETE may be sent again (see HttpClient).
  std::string method = "GET";
  /// Whether doing it twice is more than doing it once, whatever the method: it is sent again only
  /// as a POST would be.
  bool isForOnce = false;
  /// Content-Length is not among those that are sent: the body's true size is.
  HeaderFields headerFields = {};
  /// The body, shared and not copied when it is sent; null for none.
  std::shared_ptr<const Data> body = nullptr;
  /// From the start of the transfer to its end.
  std::chrono::milliseconds timeout = kRequestTimeout;
  /// Whether the answer's head is of interest as text.
  bool wantsHead = false;
  /// Asks an asynchronous send to end: the transport takes it off the wire or out of its queue and
  /// completes it with an error.
  std::stop_token stopToken = {};
  /// Called now and then while an asynchronous send moves its bodies, on a thread of the
  /// transport's, which it must not hold up; null for nobody.
  std::function<void(const HttpProgress&)> progress = nullptr;
};

} // namespace quarnet::platform
