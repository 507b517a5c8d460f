#pragma once

#include "quarnet/client/Result.h"
#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/MainThread.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace quarnet {

/// What a handle and the one who brings its outcome share. Applications use Pending and Handle.
///
/// The outcome is settled once, on whatever thread; the listener receives it once, on the thread of
/// `callbacks`, unless the handle is gone by then. Safe from any thread. In a forked child, which
/// may have inherited its locks closed, what the parent began is left as it is.
class QUARNET_EXPORT PendingState : public std::enable_shared_from_this<PendingState> {
public:
  /// Not settled yet; the listener is called by `callbacks`, which is not null.
  explicit PendingState(std::shared_ptr<platform::MainThread> callbacks);
  virtual ~PendingState();
  PendingState(const PendingState&) = delete;
  PendingState& operator=(const PendingState&) = delete;

  /// The handle's end: nothing is delivered from here on. Waits for a listener that another thread
  /// runs at this moment.
  void drop();

  /// Settles the outcome as Cancelled; nothing when there is one already.
  void cancel();

  /// The same as soon as `token` asks for it. Call it once.
  void cancelWith(const std::stop_token& token);

  /// Settles the outcome as `error` and asks for a stop of what was to bring it; nothing when there
  /// is an outcome already.
  virtual void fail(ApiError error) = 0;

  /// Asks whoever brings the outcome to stop: it was dropped, cancelled or replaced by an error.
  std::stop_token stopToken() const { return stop_.get_token(); }

  /// Runs `call` on the callbacks' thread, before the outcome is received; does nothing when there
  /// is an outcome already.
  void notify(std::function<void()> call);

protected:
  /// A call that need not be copyable.
  class Listener {
  public:
    virtual ~Listener() = default;
    /// Receives the outcome.
    virtual void call() = 0;
  };

  /// Who receives the outcome, once. Call it once.
  void listen(std::unique_ptr<Listener> listener);

  /// Runs `store` for the first outcome of one that was not dropped; says whether it did.
  bool settle(const std::function<void()>& store);

  /// Begins nothing any more that was notified.
  void endNotices();

  /// Blocks until the outcome is there and nothing that was notified runs any more.
  void waitUntilSettled();

  /// Asks who holds stopToken() to stop.
  void requestStop() { stop_.request_stop(); }

private:
  bool isInherited() const { return forks_ != platform::forkCount(); }
  void post();
  void deliver();
  /// Waits for the callback that another thread runs, so that no two run at a time.
  void waitForOtherThread(std::unique_lock<std::mutex>& lock);
  /// Runs `call`, and lets the other threads wait for its end.
  void run(std::unique_lock<std::mutex>& lock, const std::function<void()>& call);

  const unsigned forks_ = platform::forkCount();
  /// In a forked child this, so that it is never destroyed: the parent's threads may have held it.
  std::shared_ptr<PendingState> inherited_;
  std::stop_source stop_;
  std::mutex mutex_;
  /// Given up with the last post: what it never runs must not keep it alive.
  std::shared_ptr<platform::MainThread> callbacks_;
  std::condition_variable changed_;
  std::unique_ptr<Listener> listener_;
  bool isSettled_ = false;
  bool isDropped_ = false;
  /// The outcome was received, or will be at once.
  bool isReceived_ = false;
  /// The thread that runs a callback; none when its id is that of no thread.
  std::thread::id runningOn_;
  using Cancellation = std::stop_callback<std::function<void()>>;
  /// Apart, since few calls have one and thousands may be kept.
  std::unique_ptr<Cancellation> cancellation_;
};

/// The state with room for an outcome.
template <class T>
class Outcome final : public PendingState {
public:
  using PendingState::PendingState;

  /// Brings the outcome; the first one counts.
  void settle(Result<T> result) {
    PendingState::settle([&] { result_.emplace(std::move(result)); });
  }

  void fail(ApiError error) override {
    const auto store = [&] { result_.emplace(Result<T>(std::move(error))); };
    if (PendingState::settle(store)) requestStop();
  }

  /// Calls `receive` with the outcome. Call it once, and not beside wait().
  template <class F>
  void then(F receive) {
    struct Receiver final : Listener {
      Receiver(Outcome& outcome, F function) : state(outcome), receive(std::move(function)) {}
      void call() override { receive(std::move(*state.result_)); }
      Outcome& state;
      F receive;
    };
    listen(std::make_unique<Receiver>(*this, std::move(receive)));
  }

  /// Blocks until the outcome is there and takes it.
  Result<T> wait() {
    waitUntilSettled();
    return std::move(*result_);
  }

private:
  std::optional<Result<T>> result_;
};

} // namespace quarnet
