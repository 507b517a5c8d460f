#pragma once

#include "quarnet/platform/HttpRequest.h"

#include <string>

namespace quarnet::platform {

/// What of a request is sent to one address. The first hop is the request as it was made; each
/// redirect (RFC 9110, section 15.4) makes the next one.
struct Hop {
  std::string url;
  std::string method;
  /// Whether the body is sent, and with it the fields that describe it.
  bool withContent = true;
  /// Whether the request's other header fields are sent.
  bool withOwnFields = true;
};

/// Whether an answer with this status redirects the client to the address in its Location field.
bool isRedirect(long status);

/// The hop that an answer of this status to `hop` asks for; `url` is an absolute address.
Hop redirected(const Hop& hop, long status, std::string url);

/// Why an answer to `hop` must not lead to this absolute address; absent when it may. What was sent
/// encrypted is never sent unencrypted.
Text redirectProblem(const Hop& hop, const std::string& url);

} // namespace quarnet::platform
