#include "quarnet/client/Client.h"

#include "quarnet/client/CallRun.h"
#include "quarnet/client/SignInRun.h"
#include "quarnet/client/SignOutRun.h"
#include "quarnet/oauth/SessionEvents.h"
#include "quarnet/platform/Platform.h"

#include <utility>

namespace quarnet {
namespace {

/// Passes the session's events on until its handle ends.
class Observation final : public PendingState, public SessionEvents::Observer {
public:
  Observation(std::shared_ptr<platform::MainThread> callbacks,
              std::function<void(SessionEvent)> receive)
      : PendingState(std::move(callbacks)),
        receive_(std::make_shared<const std::function<void(SessionEvent)>>(std::move(receive))) {}

  void happened(SessionEvent event) override {
    notify([receive = receive_, event] { (*receive)(event); });
  }
  void fail(ApiError) override {
    if (!settle([] {})) return;
    endNotices();
    requestStop();
  }

private:
  const std::shared_ptr<const std::function<void(SessionEvent)>> receive_;
  const std::stop_callback<std::function<void()>> ended_{stopToken(),
                                                         [this] { SessionEvents::remove(this); }};
};

} // namespace

Client::Client(ClientOptions options)
    : options_(std::make_shared<const ClientOptions>(std::move(options))) {}

Pending<Answer> Client::send(Call call) {
  auto outcome = std::make_shared<Outcome<Answer>>(callbacks());
  std::make_shared<CallRun>(std::move(call), options_, outcome)->start();
  return Pending<Answer>(std::move(outcome));
}

Pending<SignIn> Client::signIn() {
  auto outcome = std::make_shared<Outcome<SignIn>>(callbacks());
  SignInRun::join(outcome);
  return Pending<SignIn>(std::move(outcome));
}

Pending<SignOut> Client::signOut() {
  auto outcome = std::make_shared<Outcome<SignOut>>(callbacks());
  runSignOut(outcome);
  return Pending<SignOut>(std::move(outcome));
}

Handle Client::onSession(std::function<void(SessionEvent)> observer) {
  auto observation = std::make_shared<Observation>(callbacks(), std::move(observer));
  SessionEvents::add(observation);
  return Handle(std::move(observation));
}

std::shared_ptr<platform::MainThread> Client::callbacks() const {
  return options_->callbacks ? options_->callbacks : platform::Platform::current().mainThread;
}

} // namespace quarnet
