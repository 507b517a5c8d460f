#pragma once

#include <pthread.h>
#include <signal.h>

namespace quarnet::platform {

/// Blocks all signals of the calling thread while it lives. Threads made meanwhile keep them
/// blocked: the application's signals are for the application's threads.
class BlockedSignals {
public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
  sigset_t before_;
};

} // namespace quarnet::platform
