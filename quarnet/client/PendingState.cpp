#include "quarnet/client/PendingState.h"

#include "quarnet/platform/Guarded.h"

#include <utility>

namespace quarnet {

PendingState::PendingState(std::shared_ptr<platform::MainThread> callbacks)
    : callbacks_(std::move(callbacks)) {}

PendingState::~PendingState() = default;

void PendingState::drop() {
  if (isInherited()) {
    inherited_ = shared_from_this();
    return;
  }
  std::unique_ptr<Listener> dropped; // ends without the lock
  bool wasSettled = false;
  {
    std::unique_lock lock(mutex_);
    isDropped_ = true;
    callbacks_ = nullptr;
    dropped = std::move(listener_);
    wasSettled = isSettled_;
    waitForOtherThread(lock);
  }
  if (!wasSettled) stop_.request_stop();
}

void PendingState::cancel() {
  if (isInherited()) return;
  fail({.kind = ApiErrorKind::Cancelled, .text = "The caller cancelled it"});
}

void PendingState::cancelWith(const std::stop_token& token) {
  if (!token.stop_possible()) return;
  // Not kept alive by it: the token may outlive the call by far.
  cancellation_ = std::make_unique<Cancellation>(token, [weak = weak_from_this()] {
    if (const auto state = weak.lock()) state->cancel();
  });
}

void PendingState::notify(std::function<void()> call) {
  std::shared_ptr<platform::MainThread> callbacks;
  {
    const std::lock_guard lock(mutex_);
    if (!isSettled_) callbacks = callbacks_;
  }
  if (!callbacks) return;
  callbacks->post([self = shared_from_this(), call = std::move(call)] {
    std::unique_lock lock(self->mutex_);
    self->waitForOtherThread(lock);
    if (!self->isDropped_ && !self->isReceived_) self->run(lock, call);
  });
}

void PendingState::listen(std::unique_ptr<Listener> listener) {
  {
    const std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
    if (!isSettled_) return;
  }
  post();
}

bool PendingState::settle(const std::function<void()>& store) {
  {
    const std::lock_guard lock(mutex_);
    if (isSettled_ || isDropped_) return false;
    store();
    isSettled_ = true;
    if (!listener_) {
      changed_.notify_all();
      return true;
    }
  }
  post();
  return true;
}

void PendingState::endNotices() {
  const std::lock_guard lock(mutex_);
  isReceived_ = true;
}

void PendingState::waitUntilSettled() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return isSettled_; });
  isReceived_ = true;
  waitForOtherThread(lock);
}

void PendingState::post() {
  std::shared_ptr<platform::MainThread> callbacks;
  {
    const std::lock_guard lock(mutex_);
    callbacks.swap(callbacks_);
  }
  if (callbacks) callbacks->post([self = shared_from_this()] { self->deliver(); });
}

void PendingState::deliver() {
  std::unique_lock lock(mutex_);
  waitForOtherThread(lock);
  std::unique_ptr<Listener> listener = std::move(listener_);
  if (!listener) return;
  isReceived_ = true;
  run(lock, [&listener] {
    const auto own = std::move(listener); // ends without the lock, after an exception, too
    own->call();
  });
}

void PendingState::waitForOtherThread(std::unique_lock<std::mutex>& lock) {
  changed_.wait(lock, [this] {
    return runningOn_ == std::thread::id() || runningOn_ == std::this_thread::get_id();
  });
}

void PendingState::run(std::unique_lock<std::mutex>& lock, const std::function<void()>& call) {
  // A callback that runs the main loop may be interrupted by another one.
  const std::thread::id outer = std::exchange(runningOn_, std::this_thread::get_id());
  lock.unlock();
  platform::runGuarded(call);
  lock.lock();
  runningOn_ = outer;
  changed_.notify_all();
}

} // namespace quarnet
