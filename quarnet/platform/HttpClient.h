#pragma once

#include "quarnet/core/Error.h"
#include "quarnet/platform/HttpRequest.h"

#include <functional>
#include <memory>

namespace quarnet::platform {

/// The head of an answer.
struct HttpResponse {
  long statusCode = 0;
};

/// How a request ended.
struct HttpResult {
  /// Absent when no answer began to arrive.
  std::optional<HttpResponse> response;
  /// The body, or what had arrived of it when the transport failed.
  Data body;
  /// Why the transport failed, always with a description, which goes to the log as harmless and so
  /// quotes no address, header field or body; absent when a whole answer came, whatever its status.
  std::optional<Error> error;
};

/// Sends HTTP requests. Every operation may be called from any thread at the same time.
///
/// An implementation checks certificates, follows redirects to http and https addresses only, and
/// sends the request's own header fields to no other origin than the one they were meant for. A
/// header field that holds CR, LF or NUL and an address that cannot be parsed fail like a transport
/// error. Nothing is thrown.
class QUARNET_EXPORT HttpClient {
public:
  /// Called exactly once for each asynchronous send, on a background thread, also when the process
  /// is ending. Slow completions hold up other completions, never the transfers.
  using Completion = std::function<void(HttpResult)>;

  virtual ~HttpClient() = default;

  /// Blocks until the answer is whole, the transport failed or the time is up.
  virtual HttpResult sendSynchronously(const HttpRequest& request) = 0;

  /// Returns at once.
  virtual void sendAsynchronously(std::shared_ptr<const HttpRequest> request,
                                  Completion completion) = 0;
};

} // namespace quarnet::platform
