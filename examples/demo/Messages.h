#pragma once

#include <quarnet/quarnet.h>
#include <string>

namespace demo {

// What the user is told of an outcome.

std::string messageOf(const quarnet::ApiError& error);

/// Empty where the user knows already: who closed the screen, and who was shown the server's
/// refusal there.
std::string messageOf(const quarnet::SignIn& end);

std::string messageOf(const quarnet::SignOut& end);

} // namespace demo
