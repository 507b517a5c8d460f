#pragma once

#include "sandbox/Server.h"

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <string>

namespace quarnet::sandbox {

/// What stands between `from` and the next `to`; empty when there is no `from`.
inline std::string between(const std::string& text, const std::string& from,
                           const std::string& to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) return {};
  const std::size_t start = at + from.size();
  return text.substr(start, text.find(to, start) - start);
}

struct Answer {
  long status = 0;
  std::string body;
  std::string problem; ///< why it is not whole
  std::string target;  ///< where the request ended after all redirects

  /// A text of the JSON in the body.
  std::string member(const std::string& name) const {
    return between(body, "\"" + name + "\":\"", "\"");
  }
};

/// The library's client, that trusts the sandbox.
class TestClient {
public:
  explicit TestClient(const Server& server, std::string scheme = "https://")
      : server_(server), scheme_(std::move(scheme)) {}

  Answer get(const std::string& target, platform::HeaderFields fields = {}) {
    return perform({.url = target, .headerFields = std::move(fields)});
  }
  Answer post(const std::string& target, const std::string& body,
              platform::HeaderFields fields = {}) {
    return perform({.url = target,
                    .method = "POST",
                    .headerFields = std::move(fields),
                    .body = std::make_shared<Data>(body)});
  }

  std::chrono::milliseconds timeout{5000};

private:
  Answer perform(platform::HttpRequest request) {
    request.url = scheme_ + server_.host() + request.url;
    request.timeout = timeout;
    const auto result = client_.sendSynchronously(request);
    const auto received = server_.received();
    return {.status = result.response ? result.response->statusCode : 0,
            .body = result.body,
            .problem = result.error ? *result.error->description : "",
            .target = received.empty() ? "" : received.back().target};
  }

  const Server& server_;
  std::string scheme_;
  platform::CurlHttpClient client_{{.caFile = Server::caFile()}};
};

} // namespace quarnet::sandbox
