#include "quarnet/platform/ForkCount.h"

#include <atomic>
#include <pthread.h>

namespace quarnet::platform {
namespace {

constinit std::atomic<unsigned> count = 0;

} // namespace

unsigned forkCount() {
  // What was forked before the first look makes no difference.
  [[maybe_unused]] static const int registered = pthread_atfork(nullptr, nullptr, [] { ++count; });
  return count.load(std::memory_order_relaxed);
}

} // namespace quarnet::platform
