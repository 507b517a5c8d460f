#pragma once

#include "quarnet/core/Types.h"

#include <string>

namespace quarnet {

/// How a sign-in ended.
struct SignIn {
  /// Which way it ended; only the first two leave a session.
  enum class Ending {
    /// The user signed in on the login screen.
    Done,
    /// A stored session was taken up again, without a screen.
    Continued,
    /// The user closed the screen.
    Closed,
    /// The server refused (RFC 6749, section 4.1.2.1).
    Refused,
    /// The authorization code could not be exchanged for tokens.
    ExchangeFailed,
    /// There was no window or no toolkit to show the screen with.
    NoScreen,
  };
  /// Which way it ended.
  Ending ending = Ending::Done;
  /// The server's code for Refused and, when it gave one, for ExchangeFailed: "access_denied".
  std::string code = {};
  /// What is known about it, for people; empty where the ending says it all. For NoScreen it says
  /// why the stored session, if there is one, could not be taken up.
  std::string text = {};

  /// Whether there is a session now.
  explicit operator bool() const { return ending == Ending::Done || ending == Ending::Continued; }
};

/// How a sign-out ended.
struct SignOut {
  /// Which way it ended; after each of them nobody is signed in here.
  enum class Ending {
    /// The server confirmed it; the tokens are gone on both sides.
    Confirmed,
    /// The tokens were dropped here, but the server did not confirm it.
    NotConfirmed,
    /// Nobody was signed in.
    NothingToDo,
  };
  /// Which way it ended.
  Ending ending = Ending::Confirmed;
  /// Why the server did not confirm it, for people.
  std::string text = {};
};

} // namespace quarnet
