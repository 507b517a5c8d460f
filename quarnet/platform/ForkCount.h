#pragma once

namespace quarnet::platform {

/// Differs between a process and the child that fork() makes of it, and stays the same within each:
/// what the process identifier tells, without a system call. A child made by _Fork() or by a clone
/// of the caller's own is not noticed. Safe from any thread.
unsigned forkCount();

} // namespace quarnet::platform
