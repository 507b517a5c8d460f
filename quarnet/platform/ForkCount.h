#pragma once

#include <mutex>

namespace quarnet::platform {

/// Differs between a process and the child that fork() makes of it, and stays the same within each:
/// what the process identifier tells, without a system call. A child made by _Fork() or by a clone
/// of the caller's own is not noticed. Safe from any thread.
unsigned forkCount();

/// Has every fork() hold `mutex`, so that the child finds it open and what it guards whole. For one
/// that is never destroyed; those that are locked within it come before it.
void holdInForks(std::mutex& mutex);

} // namespace quarnet::platform
