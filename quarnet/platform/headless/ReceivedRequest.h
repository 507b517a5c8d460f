#pragma once

#include "quarnet/platform/HttpRequest.h"

namespace quarnet::platform {

/// A request as a ScriptedHttpClient received it.
struct QUARNET_EXPORT ReceivedRequest : HttpRequest {
  /// A copy of `request`, with its parameters read.
  explicit ReceivedRequest(const HttpRequest& request);

  /// Whether it has that method, and an address that starts with `address`; an empty method stands
  /// for any.
  bool matches(std::string_view expectedMethod, std::string_view address) const;

  /// What its query says in plain text, the values unescaped. GET and DELETE calls, whose query
  /// travels encrypted, are decrypted; empty when that fails, because the key was not the one of
  /// ScriptedHttpClient::answerSession().
  Parameters parameters;
};

} // namespace quarnet::platform
