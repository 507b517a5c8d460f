#pragma once

#include "quarnet/oauth/OAuthInfo.h"

namespace quarnet {

/// What a token endpoint's JSON answer (RFC 6749, section 5.1) puts into the token record: the two
/// tokens, the lifetime, the scope, and when the access token expires. A member that is missing,
/// all of them when the answer is no JSON object, is "(null)". Throws std::bad_alloc.
OAuthInfo::Fields readTokenAnswer(const Data& answer);

} // namespace quarnet
