#include "quarnet/oauth/SessionEvents.h"

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/platform/Guarded.h"
#include "quarnet/platform/OfProcess.h"

#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace quarnet {
namespace {

using Observers = std::vector<std::shared_ptr<SessionEvents::Observer>>;

struct Noted {
  SessionEvent event;
  /// Those who were there when it happened.
  Observers observers;
};

struct State {
  std::mutex mutex;
  Observers observers;
  std::deque<Noted> noted;
  /// Whether a thread is telling.
  bool isTelling = false;
};

/// A forked child begins without observers: those that it inherited are its parent's.
State& state() {
  return platform::ofProcess<State>();
}

} // namespace

void SessionEvents::add(std::shared_ptr<Observer> observer) {
  const std::lock_guard lock(state().mutex);
  state().observers.push_back(std::move(observer));
}

void SessionEvents::remove(const Observer* observer) {
  std::shared_ptr<Observer> removed; // ends without the lock
  const std::lock_guard lock(state().mutex);
  std::erase_if(state().observers, [&](std::shared_ptr<Observer>& one) {
    if (one.get() != observer) return false;
    removed = std::move(one);
    return true;
  });
}

void SessionEvents::note(SessionEvent event) noexcept {
  const auto note = [event] {
    const std::lock_guard lock(state().mutex);
    if (!state().observers.empty()) state().noted.push_back({event, state().observers});
  };
  withinMemory(note, [] {});
}

void SessionEvents::tell() {
  std::unique_lock lock(state().mutex);
  if (std::exchange(state().isTelling, true)) return;
  while (!state().noted.empty()) {
    {
      const Noted next = std::move(state().noted.front());
      state().noted.pop_front();
      lock.unlock();
      for (const auto& observer : next.observers)
        platform::runGuarded([&] { observer->happened(next.event); });
    }
    lock.lock();
  }
  state().isTelling = false;
}

void SessionEvents::publish(SessionEvent event) {
  note(event);
  tell();
}

} // namespace quarnet
