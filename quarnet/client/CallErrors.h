#pragma once

#include "quarnet/client/ApiError.h"
#include "quarnet/platform/HttpClient.h"

namespace quarnet {

// What an HTTP exchange that brought no answer means for a call.

/// The transport failed.
ApiError transportError(const platform::HttpResult& result);

/// An answer came, and its status is a refusal.
ApiError refusal(const platform::HttpResult& result);

/// Nobody is signed in.
ApiError signedOut();

/// The server does not reissue the tokens; `report` is what it says about that, if anything
/// (RFC 6749, section 5.2).
ApiError sessionLost(const Data& report = {});

/// The memory does not suffice.
ApiError tooLarge();

} // namespace quarnet
