#pragma once

#include <quarnet/quarnet.h>
#include <string>

namespace demo {

/// What the user is told of an outcome.
struct Message {
  std::string text = {};
  /// What the library or the server says about it; may be empty, and is in their language.
  std::string why = {};
};

Message messageOf(const quarnet::ApiError& error);

/// Empty where the user knows already: who closed the screen, and who was shown the server's
/// refusal there.
Message messageOf(const quarnet::SignIn& end);

Message messageOf(const quarnet::SignOut& end);

} // namespace demo
