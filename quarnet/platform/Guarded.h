#pragma once

#include <functional>

namespace quarnet::platform {

/// Runs a call of somebody else's. An exception that leaves it is written to the log as one line
/// and not passed on.
void runGuarded(const std::function<void()>& call);

} // namespace quarnet::platform
