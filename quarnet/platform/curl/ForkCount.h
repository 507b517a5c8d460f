#pragma once

namespace quarnet::platform {

/// Differs between a process and a child that it forks, and stays the same within each: what the
/// process identifier tells, without a system call. Safe from any thread.
unsigned forkCount();

} // namespace quarnet::platform
