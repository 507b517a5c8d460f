#include "quarnet/platform/headless/ManualMainThread.h"

#include <utility>

namespace quarnet::platform {

void ManualMainThread::post(std::function<void()> call) {
  const std::lock_guard lock(mutex_);
  calls_.push_back(std::move(call));
  posted_.notify_all();
}

std::size_t ManualMainThread::runPending() {
  std::size_t count = 0;
  while (runNext())
    ++count;
  return count;
}

void ManualMainThread::dropPending() {
  decltype(calls_) dropped; // ends without the lock
  const std::lock_guard lock(mutex_);
  dropped.swap(calls_);
}

bool ManualMainThread::runUntil(const std::function<bool()>& done,
                                std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    if (runNext()) continue;
    std::unique_lock lock(mutex_);
    posted_.wait_for(lock, std::chrono::milliseconds(10), [this] { return !calls_.empty(); });
  }
  return true;
}

bool ManualMainThread::runNext() {
  std::function<void()> call;
  {
    const std::lock_guard lock(mutex_);
    if (calls_.empty()) return false;
    call = std::move(calls_.front());
    calls_.pop_front();
  }
  call();
  return true;
}

} // namespace quarnet::platform
