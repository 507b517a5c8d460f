#pragma once

#include "quarnet/core/Types.h"

#include <string>

namespace quarnet {

// The addresses of the sign-in, made of the session manager's configuration and the token record.
// Each value is escaped by addingPercentEscapes(), or "(null)" when it is absent, and each address
// is written to the log. They throw std::bad_alloc.

/// Where the user signs in (RFC 6749, section 4.1.1).
std::string authorizationAddress();

/// Exchanges the authorization code for tokens (RFC 6749, section 4.1.3). Holds the client secret.
std::string codeExchangeAddress();

/// Reissues the access token under that refresh token (RFC 6749, section 6). Holds the client
/// secret.
std::string reissueAddress(const Text& refreshToken);

/// Revokes that access token.
std::string revocationAddress(const Text& accessToken);

} // namespace quarnet
