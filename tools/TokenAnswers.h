#pragma once

#include "quarnet/core/Types.h"

namespace quarnet::tools {

/// Whether a text that was read from an answer is more than what a missing or null member leaves.
bool isPresent(const Text& text);

/// What an error report of the server (RFC 6749, section 5.2) says, fit for a message; absent for
/// any other answer, which may hold tokens.
Text errorReport(const Data& answer);

} // namespace quarnet::tools
