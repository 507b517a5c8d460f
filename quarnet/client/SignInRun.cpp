#include "quarnet/client/SignInRun.h"

#include "quarnet/client/CallErrors.h"
#include "quarnet/client/TokenRefresh.h"
#include "quarnet/client/Worker.h"
#include "quarnet/core/Json.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/login/OAuthClient.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/SessionEvents.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/OfProcess.h"
#include "quarnet/platform/Platform.h"

#include <algorithm>
#include <utility>

namespace quarnet {

using platform::harmless;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

/// The sign-in that is under way in this process.
struct Current {
  std::mutex mutex;
  std::weak_ptr<SignInRun> run;
};

void onMainThread(std::function<void()> call) {
  Platform::current().mainThread->post(std::move(call));
}

/// The value of a query's pair as it was before it was put into the query, where a blank is "+"
/// (RFC 6749, appendix B); as it is when its escapes are malformed.
std::string decoded(Text value) {
  if (!value) return {};
  std::ranges::replace(*value, '+', ' ');
  return replacingPercentEscapes(*value).value_or(*value);
}

/// What the token endpoint answered in place of tokens (RFC 6749, section 5.2).
SignIn exchangeFailure(const HttpResult& answer) {
  SignIn failure{.ending = SignIn::Ending::ExchangeFailed};
  if (answer.error) {
    failure.text = answer.error->description.value_or("");
    return failure;
  }
  const std::optional<Json> json = Json::parse(answer.body);
  failure.code = memberText(json, "error").value_or("");
  const long status = answer.response ? answer.response->statusCode : 0;
  failure.text =
      memberText(json, "error_description")
          .value_or("The server's answer (" + std::to_string(status) + ") holds no tokens");
  return failure;
}

} // namespace

void SignInRun::join(std::shared_ptr<Outcome<SignIn>> outcome) {
  std::shared_ptr<SignInRun> run;
  {
    auto& current = platform::ofProcess<Current>();
    const std::lock_guard lock(current.mutex);
    run = current.run.lock();
    if (run && run->add(outcome)) return;
    run = std::make_shared<SignInRun>();
    run->add(std::move(outcome));
    current.run = run;
  }
  run->start();
}

bool SignInRun::add(std::shared_ptr<Outcome<SignIn>> outcome) {
  const std::lock_guard lock(mutex_);
  if (isOver_) return false;
  // The outcome has no handle yet, so that nobody asks for the stop inside this.
  waiting_.emplace_back(std::move(outcome), [weak = weak_from_this()] {
    if (const auto run = weak.lock()) run->left();
  });
  ++present_;
  return true;
}

void SignInRun::left() {
  {
    const std::lock_guard lock(mutex_);
    if (--present_ > 0 || isOver_) return;
    isOver_ = true;
  }
  closeScreen();
}

// The steps.

void SignInRun::start() {
  const bool runs = runOnWorker([self = shared_from_this()] {
    withinMemory([&] { self->restore(); }, [&] { self->finish(tooLarge()); });
  });
  if (!runs) finish(tooLarge());
}

void SignInRun::restore() {
  TokenRecordStore::restore();
  const Text accessToken = TokenRecordStore::fields().accessToken;
  if (isOver()) return;
  if (!isToken(accessToken)) {
    return onMainThread([self = shared_from_this()] { self->openScreen({}); });
  }
  TokenRefresh::shared().renew(
      accessToken, [self = shared_from_this()](const std::optional<ApiError>& problem) {
        withinMemory([&] { self->renewed(problem); }, [&] { self->finish(tooLarge()); });
      });
}

void SignInRun::renewed(const std::optional<ApiError>& problem) {
  if (problem && problem->kind == ApiErrorKind::SignedOut) {
    return onMainThread(
        [self = shared_from_this(), why = problem->text] { self->openScreen(why); });
  }
  if (problem) return finish(*problem);
  if (!decide()) return;
  SessionEvents::publish(SessionEvent::Continued);
  end(SignIn{.ending = SignIn::Ending::Continued});
}

void SignInRun::openScreen(const std::string& why) {
  if (isOver()) return;
  // A screen of its own: the session manager's may be open, and who is registered there has asked
  // for something else.
  const std::shared_ptr<OAuthClient> screen = OAuthClient::make();
  screen->listener_ = shared_from_this();
  screen_ = screen;
  screen->loginFinishedFailed({});
  if (!screen->loginView()) {
    finish(SignIn{.ending = SignIn::Ending::NoScreen,
                  .text = why.empty() ? "There is no window to show the login screen in" : why});
  }
}

void SignInRun::refused(const Text& code, const Text& description) {
  const std::lock_guard lock(mutex_);
  refusal_ = {
      .ending = SignIn::Ending::Refused, .code = decoded(code), .text = decoded(description)};
}

bool SignInRun::mayExchange() {
  // A code is good for one exchange (RFC 6749, section 4.1.2).
  return !isOver() && !std::exchange(isExchanging_, true);
}

void SignInRun::exchanged(const HttpResult& answer) {
  withinMemory([&] { take(answer); },
               [this] {
                 finish(SignIn{.ending = SignIn::Ending::ExchangeFailed, .text = kNotEnoughMemory});
               });
}

void SignInRun::take(const HttpResult& answer) {
  if (answer.error) {
    log("Error = ", harmless(formatted(answer.error->description)));
  } else {
    log("result : ", formatted(utf8Text(answer.body)));
  }
  OAuthInfo::Fields before;
  before.scope = OAuthInfoManager::sharedInstance().scope();
  const auto taken = answer.error ? std::nullopt : readIssuedTokens(answer.body, before);
  if (!taken) return finish(exchangeFailure(answer));
  if (!decide([&] { TokenRecordStore::take(*taken, SessionEvent::SignedIn); })) return;
  TokenRecordStore::save();
  end(SignIn{.ending = SignIn::Ending::Done});
}

void SignInRun::closed() {
  SignIn ending{.ending = SignIn::Ending::Closed};
  {
    const std::lock_guard lock(mutex_);
    if (refusal_) ending = *refusal_;
  }
  finish(ending);
}

void SignInRun::closeScreen() {
  onMainThread([self = shared_from_this()] {
    if (const auto screen = self->screen_.lock()) screen->closeLoginView();
  });
}

// The outcome.

bool SignInRun::isOver() {
  const std::lock_guard lock(mutex_);
  return isOver_;
}

bool SignInRun::decide(const std::function<void()>& takeOver) {
  const std::lock_guard lock(mutex_);
  if (isOver_) return false;
  if (takeOver) takeOver();
  isOver_ = true;
  return true;
}

void SignInRun::end(const Result<SignIn>& result) {
  // Posted before the outcome, and so seen before it.
  closeScreen();
  std::list<Waiting> waiting; // ends without the lock, which left() takes
  {
    const std::lock_guard lock(mutex_);
    waiting.swap(waiting_);
  }
  for (const Waiting& one : waiting)
    one.outcome->settle(result);
}

void SignInRun::finish(const Result<SignIn>& result) {
  if (decide()) end(result);
}

} // namespace quarnet
