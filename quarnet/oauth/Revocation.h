#pragma once

#include "quarnet/core/Registration.h"
#include "quarnet/platform/HttpClient.h"

#include <memory>

namespace quarnet {

/// Whether the server's answer to a revocation says that the token is revoked.
bool confirmsRevocation(const Text& answer);

/// The end of an asynchronous logout, on a background thread: any answer drops the tokens, a
/// refusal included. Then the finished operation is called, or without a confirmation the failed
/// one. A transport error keeps the tokens and calls the failed operation; an empty answer does
/// nothing.
void revocationAnswered(platform::HttpResult result,
                        const std::shared_ptr<const Registration>& registration);

} // namespace quarnet
