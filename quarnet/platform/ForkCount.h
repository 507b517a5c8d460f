#pragma once

#include <mutex>
#include <pthread.h>

namespace quarnet::platform {

/// Differs between a process and the child that fork() makes of it, and stays the same within each:
/// what the process identifier tells, without a system call. A child made by _Fork() or by a clone
/// of the caller's own is not noticed. Safe from any thread.
unsigned forkCount();

/// Has fork() wait for a lock of the process's that is held briefly, so that the child, which goes
/// on with what it guards, never inherits it closed. Where one such lock is taken inside another,
/// the inner one comes first here. Call it once for each.
template <std::mutex& (*kMutex)()>
void openAcrossForks() {
  const auto open = [] { kMutex().unlock(); };
  pthread_atfork([] { kMutex().lock(); }, open, open);
}

} // namespace quarnet::platform
