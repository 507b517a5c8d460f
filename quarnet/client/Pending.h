#pragma once

#include "quarnet/client/PendingState.h"

#include <concepts>
#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace quarnet {

/// Something that is under way and has somebody who receives its outcome. It ends with the handle:
/// destroyed or assigned over, it cancels what is under way, and the lambda never runs after that.
///
/// A handle may end on any thread, inside its own lambda, too. When its lambda runs on another
/// thread at that moment, the end waits for it. One thread at a time may use a handle. In a forked
/// child one that was inherited can only end, which leaves alone what is under way in the parent.
class [[nodiscard("what a handle stands for is cancelled with it; detach() lets it run")]] Handle {
public:
  /// A handle of nothing.
  Handle() noexcept = default;
  /// Of what the library makes; applications get theirs from Pending::then() and the client.
  explicit Handle(std::shared_ptr<PendingState> state) noexcept : state_(std::move(state)) {}
  /// Takes over what `other` stands for, which is a handle of nothing from then on.
  Handle(Handle && other) noexcept = default;
  /// Ends what this handle stood for until now.
  Handle& operator=(Handle&& other) noexcept {
    const Handle old(std::exchange(state_, std::move(other.state_)));
    return *this;
  }
  /// Cancels what it stands for; waits for the lambda if that runs on another thread.
  ~Handle() {
    if (state_) state_->drop();
  }

  /// Ends it with the outcome Cancelled, which the lambda still receives. Nothing when there is an
  /// outcome already.
  void cancel() {
    if (state_) state_->cancel();
  }

  /// Lets it run without an owner: the lambda runs at the end, whatever has ended by then.
  void detach() {
    state_.reset();
  }

private:
  std::shared_ptr<PendingState> state_;
};

/// Something that is under way and brings a Result<T>. Take the outcome in one of four ways: by
/// then(), wait(), co_await, or not at all by detach(). Destroyed before that, it is cancelled.
template <class T>
class [[nodiscard("what nobody waits for is cancelled; detach() lets it run")]] Pending {
public:
  /// Of what the library makes.
  explicit Pending(std::shared_ptr<Outcome<T>> outcome) noexcept : outcome_(std::move(outcome)) {}
  /// Takes over what is under way in `other`, which is nothing from then on.
  Pending(Pending && other) noexcept = default;
  /// Ends what was under way here until now.
  Pending& operator=(Pending&& other) noexcept {
    const Pending old(std::exchange(outcome_, std::move(other.outcome_)));
    return *this;
  }
  /// Cancels what nobody took.
  ~Pending() {
    if (outcome_) outcome_->drop();
  }

  /// Has `receive` called with the outcome, once, on the callbacks' thread and never inside this
  /// call, as long as the handle that this returns is there.
  template <std::invocable<Result<T>> F>
  Handle then(F receive)&& {
    const std::shared_ptr<Outcome<T>> outcome = std::move(outcome_);
    outcome->then(std::move(receive));
    return Handle(outcome);
  }

  /// Blocks until the outcome is there. Not for a thread that must not wait; a sign-in that needs
  /// the screen never ends while the main thread waits for it.
  Result<T> wait()&& {
    const std::shared_ptr<Outcome<T>> outcome = std::move(outcome_);
    return outcome->wait();
  }

  /// Ends it with the outcome Cancelled. Nothing when it was moved or taken.
  void cancel() {
    if (outcome_) outcome_->cancel();
  }

  /// Lets it run and forgets its outcome.
  void detach()&& {
    outcome_.reset();
  }

  /// `co_await` gives the outcome; the coroutine continues where then() would call its lambda. One
  /// that is destroyed while it waits cancels what it waits for.
  ///
  /// Give the call a name before: g++ up to 12 destroys what stands in braces within a co_await
  /// expression twice.
  auto operator co_await()&& {
    return Awaiter(std::move(outcome_));
  }

private:
  class Awaiter {
  public:
    explicit Awaiter(std::shared_ptr<Outcome<T>> outcome) : outcome_(std::move(outcome)) {}
    Awaiter(const Awaiter&) = delete;
    Awaiter& operator=(const Awaiter&) = delete;
    ~Awaiter() { outcome_->drop(); }

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> waiting) {
      // The coroutine may continue, and this object end, before then() returns.
      const std::shared_ptr<Outcome<T>> outcome = outcome_;
      outcome->then([this, waiting](Result<T> result) {
        result_.emplace(std::move(result));
        waiting.resume();
      });
    }
    Result<T> await_resume() { return std::move(*result_); }

  private:
    std::shared_ptr<Outcome<T>> outcome_;
    std::optional<Result<T>> result_;
  };

  std::shared_ptr<Outcome<T>> outcome_;
};

} // namespace quarnet
