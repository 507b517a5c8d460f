#pragma once

#include <string>

namespace quarnet {

// The addresses of the sign-in, made of the session manager's configuration and the token record.
// Each value is escaped by addingPercentEscapes(), or "(null)" when it is absent, and each address
// is written to the log. They throw std::bad_alloc.

/// Where the user signs in (RFC 6749, section 4.1.1).
std::string authorizationAddress();

/// Exchanges the authorization code for tokens (RFC 6749, section 4.1.3). Holds the client secret.
std::string codeExchangeAddress();

/// Reissues the access token (RFC 6749, section 6). Holds the client secret.
std::string reissueAddress();

/// Revokes the access token.
std::string revocationAddress();

} // namespace quarnet
