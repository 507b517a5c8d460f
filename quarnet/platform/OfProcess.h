#pragma once

#include "quarnet/platform/ForkCount.h"

#include <atomic>
#include <memory>

namespace quarnet::platform {

/// The one object of its kind of this process, made on first use and never destroyed. What a forked
/// child inherited has no threads there and may be locked: it is left alone, and the child makes
/// its own.
template <class T>
T& ofProcess() {
  struct Owned {
    unsigned forks;
    T object;
  };
  static constinit std::atomic<Owned*> current = nullptr;
  Owned* found = current.load(std::memory_order_acquire);
  while (found == nullptr || found->forks != forkCount()) {
    std::unique_ptr<Owned> own(new Owned{.forks = forkCount(), .object = {}});
    if (current.compare_exchange_strong(found, own.get())) found = own.release();
  }
  return found->object;
}

} // namespace quarnet::platform
