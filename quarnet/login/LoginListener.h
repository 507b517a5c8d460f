#pragma once

#include "quarnet/platform/HttpClient.h"

#include <string>

namespace quarnet {

/// Decides, in place of OAuthClient's own rules, what the end of one login means: for Client, which
/// takes no refused answer for a sign-in and reports every end. Owned by its screen.
class LoginListener {
public:
  virtual ~LoginListener() = default;

  /// The page shows an authorization error (RFC 6749, section 4.1.2.1), whose alert closes the
  /// screen. User-interface thread.
  virtual void refused(const Text& code, const Text& description) = 0;

  /// Whether the code that the page brought is to be exchanged. User-interface thread.
  virtual bool mayExchange() = 0;

  /// The exchange has ended; nothing was taken over. Background thread.
  virtual void exchanged(const platform::HttpResult& answer) = 0;

  /// The screen begins to close, or is gone. Any thread; may be called again.
  virtual void closed() = 0;
};

} // namespace quarnet
