#pragma once

#include "quarnet/client/ApiError.h"
#include "quarnet/client/Call.h"
#include "quarnet/platform/HttpClient.h"

#include <optional>
#include <string>

namespace quarnet {

// When a call has failed, and why.

/// What is wrong with the call itself, before anything of it is looked up; absent for nothing.
std::optional<ApiError> callProblem(const Call& call);

/// The call itself is wrong.
ApiError invalidCall(std::string text);

/// Why the exchange brought no answer to a call; absent when it did. The error may take over what
/// arrived.
std::optional<ApiError> answerProblem(platform::HttpResult& answer);

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
