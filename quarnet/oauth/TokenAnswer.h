#pragma once

#include "quarnet/oauth/OAuthInfo.h"

namespace quarnet {

/// Fills the token record from a token endpoint's JSON answer (RFC 6749, section 5.1): the two
/// tokens, the lifetime, the scope, and when the access token expires. A member that is missing,
/// all of them when the answer is no JSON object, overwrites its field with "(null)". The store
/// holds the same from then on; TokenRecordStore::save() makes it durable. Gives a copy of what was
/// taken. Throws std::bad_alloc, and nothing has changed then.
OAuthInfo::Fields takeTokenAnswer(const Data& answer);

} // namespace quarnet
