#pragma once

#include "quarnet/core/Data.h"

namespace quarnet {

class OAuthInfo;

/// Fills the record from a token endpoint's JSON answer (RFC 6749, section 5.1): the two tokens,
/// the lifetime, the scope, and when the access token expires. A member that is missing, all of
/// them when the answer is no JSON object, overwrites its field with "(null)". Saves nothing.
void takeTokenAnswer(OAuthInfo& record, const Data& answer);

} // namespace quarnet
