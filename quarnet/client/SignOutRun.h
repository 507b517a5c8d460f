#pragma once

#include "quarnet/client/PendingState.h"
#include "quarnet/client/SignIn.h"

#include <memory>

namespace quarnet {

/// Drops the tokens, revokes the access token among them and brings the outcome. Returns at once.
/// An outcome that nobody waits for any more stops neither. Safe from any thread.
void runSignOut(std::shared_ptr<Outcome<SignOut>> outcome);

} // namespace quarnet
