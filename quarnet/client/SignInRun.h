#pragma once

#include "quarnet/client/PendingState.h"
#include "quarnet/client/SignIn.h"
#include "quarnet/login/LoginListener.h"

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>

namespace quarnet {

class OAuthClient;

/// The way of a sign-in from signIn() to its outcome: the stored session, its reissue, the login
/// screen. One at a time serves all who ask. Whatever it waits for keeps it alive, the screen
/// included.
class SignInRun final : public LoginListener, public std::enable_shared_from_this<SignInRun> {
public:
  /// Has `outcome`, which is new, receive how the sign-in that is under way ends; begins one when
  /// there is none. It ends early, without a sign-in, when the outcomes of all were dropped or
  /// cancelled. Safe from any thread.
  static void join(std::shared_ptr<Outcome<SignIn>> outcome);

  void refused(const Text& code, const Text& description) override;
  bool mayExchange() override;
  void exchanged(const platform::HttpResult& answer) override;
  void closed() override;

private:
  struct Waiting {
    Waiting(std::shared_ptr<Outcome<SignIn>> waiting, std::function<void()> leave)
        : outcome(std::move(waiting)), leaving(outcome->stopToken(), std::move(leave)) {}
    std::shared_ptr<Outcome<SignIn>> outcome;
    std::stop_callback<std::function<void()>> leaving;
  };

  /// False when the outcome of this sign-in is certain already.
  bool add(std::shared_ptr<Outcome<SignIn>> outcome);
  /// One who waited does so no longer.
  void left();

  // The steps.
  void start();
  void restore();
  void renewed(const std::optional<ApiError>& problem);
  /// `why` is the reason why the stored session could not be taken up; empty when there is none.
  void openScreen(const std::string& why);
  void take(const platform::HttpResult& answer);
  void closeScreen();

  bool isOver();
  /// Makes the outcome certain and takes over, in one step, what belongs to it; false when another
  /// one was first or nobody waits any more. Throws what `takeOver` throws, and nothing has changed
  /// then.
  bool decide(const std::function<void()>& takeOver = nullptr);
  /// Closes the screen, if there is one, and tells everybody. After decide().
  void end(const Result<SignIn>& result);
  /// Both.
  void finish(const Result<SignIn>& result);

  std::mutex mutex_;
  std::list<Waiting> waiting_;
  std::size_t present_ = 0;
  bool isOver_ = false;
  /// The authorization error that the page shows.
  std::optional<SignIn> refusal_;
  // Of the user-interface thread.
  std::weak_ptr<OAuthClient> screen_;
  bool isExchanging_ = false;
};

} // namespace quarnet
