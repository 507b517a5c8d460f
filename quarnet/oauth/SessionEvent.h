#pragma once

#include "quarnet/core/Export.h"

namespace quarnet {

/// What happened to the session, whoever caused it.
enum class SessionEvent {
  /// The user signed in on the login screen.
  SignedIn,
  /// A stored session was taken up again without a screen. Its tokens were reissued for that, which
  /// is told before.
  Continued,
  /// The tokens were replaced by new ones.
  Reissued,
  /// The tokens were dropped, or replaced by an answer that holds none.
  SignedOut,
  /// The server does not reissue the tokens any more: the user has to sign in again.
  SessionLost,
};

} // namespace quarnet
