#include "quarnet/platform/ForkCount.h"

#include <algorithm>
#include <atomic>
#include <pthread.h>
#include <vector>

namespace quarnet::platform {
namespace {

constinit std::atomic<unsigned> count = 0;

struct Held {
  std::mutex mutex;
  std::vector<std::mutex*> mutexes;
};

Held& held() {
  static Held* const instance = new Held;
  return *instance;
}

void lockAll() {
  held().mutex.lock();
  std::for_each(held().mutexes.rbegin(), held().mutexes.rend(), [](auto* one) { one->lock(); });
}

void unlockAll() {
  std::ranges::for_each(held().mutexes, [](auto* one) { one->unlock(); });
  held().mutex.unlock();
}

} // namespace

void holdInForks(std::mutex& mutex) {
  [[maybe_unused]] static const int registered = pthread_atfork(lockAll, unlockAll, unlockAll);
  const std::lock_guard lock(held().mutex);
  held().mutexes.push_back(&mutex);
}

unsigned forkCount() {
  // What was forked before the first look makes no difference.
  [[maybe_unused]] static const int registered = pthread_atfork(nullptr, nullptr, [] { ++count; });
  return count.load(std::memory_order_relaxed);
}

} // namespace quarnet::platform
