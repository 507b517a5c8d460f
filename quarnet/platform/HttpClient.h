#pragma once

#include "quarnet/core/Error.h"
#include "quarnet/platform/HttpRequest.h"

#include <functional>
#include <memory>

namespace quarnet::platform {

/// The head of an answer.
struct HttpResponse {
  /// Of the final answer: 200 or more.
  long statusCode = 0;
  /// How long the server wants to be left alone (Retry-After; RFC 9110, section 10.2.3); 0 when it
  /// did not say.
  std::chrono::seconds retryAfter{0};
  /// For a request that wants it: the protocol and the status ("HTTP/1.1 404") and the header
  /// fields in the order in which they came ("Name: value"), each in a line that ends with "\n". It
  /// may hold any bytes. Empty where the transport does not tell it.
  std::string head = {};
};

/// Why a request brought no whole answer, for a program.
enum class HttpFailure { NoConnection, TimedOut, InvalidRequest, TooLarge };

/// How a request ended.
struct HttpResult {
  /// Absent when no answer began to arrive.
  std::optional<HttpResponse> response = {};
  /// The body, or what had arrived of it when the transport failed.
  Data body = {};
  /// Why the transport failed, always with a description, which goes to the log as harmless and so
  /// quotes no address, header field or body; absent when a whole answer came, whatever its status.
  std::optional<Error> error = {};
  /// The same for a program; of no meaning without an error.
  HttpFailure failure = HttpFailure::NoConnection;
  /// How many bytes of the body, from the first on, are known to be whole characters of UTF-8 (RFC
  /// 3629), so that nobody looks at them again; 0 when the transport did not look.
  std::size_t utf8Size = 0;
};

/// Sends HTTP requests. Every operation may be called from any thread at the same time.
///
/// An implementation checks certificates, follows redirects to http and https addresses only and
/// none from https to http, and sends the request's own header fields to no other origin (scheme,
/// host and port) than the request's; only those that describe the body (Content-*) follow it.
/// A header field that holds CR, LF or NUL, an address that cannot be parsed, and what is too large
/// for the memory fail like a transport error. Nothing is thrown.
///
/// A request to which no answer came is sent again only where that is safe (RFC 9110, section
/// 9.2.2): GET, HEAD, PUT and DELETE once, when the connection had been kept open and turned out to
/// be closed; others, and what is for once, only when none of their bytes was written or the server
/// said that it did not process them.
class QUARNET_EXPORT HttpClient {
public:
  /// Called exactly once for each asynchronous send, also when the process is ending: on a
  /// background thread, or inside the send where there is none (any more). Slow completions delay
  /// other completions, never the transfers.
  using Completion = std::function<void(HttpResult)>;

  virtual ~HttpClient() = default;

  /// Blocks until the answer is whole, the transport failed or the time is up.
  virtual HttpResult sendSynchronously(const HttpRequest& request) = 0;

  /// Returns at once.
  virtual void sendAsynchronously(std::shared_ptr<const HttpRequest> request,
                                  Completion completion) = 0;

  /// Has a connection opened that the next asynchronous send to the origin of `url` may use, unless
  /// one is open. No request is made. Returns at once; nothing comes of it when it cannot be done.
  virtual void openConnection(const std::string& /*url*/) {}
};

} // namespace quarnet::platform
