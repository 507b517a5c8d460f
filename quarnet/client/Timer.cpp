#include "quarnet/client/Timer.h"

#include "quarnet/platform/BlockedSignals.h"
#include "quarnet/platform/OfProcess.h"

#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

namespace quarnet {
Timer& Timer::shared() {
  return platform::ofProcess<Timer>();
}

Timer::Entry Timer::at(Clock::time_point time, std::function<void()> call) {
  const std::lock_guard lock(mutex_);
  if (!hasThread_) {
    try {
      const platform::BlockedSignals blocked;
      std::thread([this] { run(); }).detach();
      hasThread_ = true;
    } catch (const std::system_error&) {
      return {time, 0};
    }
  }
  const Entry entry{time, ++last_};
  calls_.emplace_hint(calls_.end(), entry, std::move(call)); // as a rule the last one
  if (calls_.begin()->first == entry) changed_.notify_all();
  return entry;
}

void Timer::forget(const Entry& entry) {
  Calls::node_type forgotten; // ends without the lock
  const std::lock_guard lock(mutex_);
  forgotten = calls_.extract(entry);
}

void Timer::runAll() {
  std::unique_lock lock(mutex_);
  while (isRunning_ || !calls_.empty()) {
    if (calls_.empty()) {
      changed_.wait(lock);
    } else {
      runNow(calls_.extract(std::prev(calls_.end())), lock);
    }
  }
}

void Timer::runNow(Calls::node_type due, std::unique_lock<std::mutex>& lock) {
  lock.unlock();
  due.mapped()();
  due = {};
  lock.lock();
}

void Timer::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    if (calls_.empty()) {
      changed_.wait(lock);
    } else if (const auto next = calls_.begin()->first.first; next > Clock::now()) {
      changed_.wait_until(lock, next);
    } else {
      auto due = calls_.extract(calls_.begin());
      isRunning_ = true;
      runNow(std::move(due), lock);
      isRunning_ = false;
      changed_.notify_all();
    }
  }
}

} // namespace quarnet
