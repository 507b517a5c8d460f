#pragma once

#include "quarnet/platform/HttpClient.h"

#include <memory>

namespace quarnet::platform {

/// How a CurlHttpClient is set up; the defaults suit an application that talks to the real
/// servers.
struct CurlHttpClientOptions {
  /// A PEM file of certificates that are trusted beside the system's own; empty for none.
  std::string caFile = {};
  /// A larger answer fails like a transport error, so that a server cannot use up the memory.
  std::size_t maximumBodySize = std::size_t{512} << 20;
};

/// HTTP over libcurl: connections are kept and reused, HTTP/2 is used where the server offers it.
///
/// A synchronous send runs on the caller's thread. All asynchronous sends share one thread for the
/// transfers and two for the completions, made with the first such send; up to 64 to each origin
/// and 256 altogether are sent at a time; the others wait, and their time-outs have not started.
/// A send that is asked to stop is taken off the wire or out of the queue; an HTTP/2 connection
/// outlives it. A connection that was opened ahead and that nobody uses is closed after five
/// seconds; none is opened while a proxy is set in the environment.
/// Destroying the client fails the sends that have not ended and waits for their completions.
class QUARNET_EXPORT CurlHttpClient final : public HttpClient {
public:
  /// Costs little: threads and connections are made with the first send.
  explicit CurlHttpClient(CurlHttpClientOptions options = {});
  ~CurlHttpClient() override;

  HttpResult sendSynchronously(const HttpRequest& request) noexcept override;
  void sendAsynchronously(std::shared_ptr<const HttpRequest> request,
                          Completion completion) noexcept override;
  void openConnection(const std::string& url) noexcept override;

private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

} // namespace quarnet::platform
