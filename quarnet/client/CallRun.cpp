#include "quarnet/client/CallRun.h"

#include "quarnet/client/CallErrors.h"
#include "quarnet/client/RetryRule.h"
#include "quarnet/client/TokenRefresh.h"
#include "quarnet/client/Worker.h"
#include "quarnet/core/Constants.h"
#include "quarnet/core/Global.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Numbers.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Wipe.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/request/Multipart.h"
#include "quarnet/request/ParameterKey.h"
#include "quarnet/request/RequestAssembly.h"

#include <algorithm>
#include <mutex>
#include <random>
#include <utility>

namespace quarnet {

using platform::HttpRequest;
using platform::HttpResult;
using platform::Platform;

namespace {

using namespace std::chrono_literals;

constexpr long kUnauthorized = 401;

/// What a call looks at in the record before it begins.
struct TokenState {
  bool hasClientId = false;
  bool isSignedIn = false;
  /// The access token when it is to be reissued first.
  Text stale = {};
  bool isExpired = false;
};

/// Nothing is copied of a record that is fresh: every call looks at it.
TokenState tokenState(const ClientOptions& options) {
  const double now = Platform::current().clock->secondsSinceReferenceDate();
  return TokenRecordStore::withFields([&](const auto& record) {
    TokenState state{.hasClientId = record.clientId.has_value(),
                     .isSignedIn = isToken(record.accessToken)};
    const std::int64_t lifetime = record.expiresIn ? integerValue(*record.expiresIn) : 0;
    // Absent when the server did not say when the token expires.
    const bool isLimited = lifetime > 0 && isToken(record.expiresSystime);
    if (!options.reissuesBeforeExpiry || !isLimited || !isToken(record.refreshToken)) return state;
    const double left = static_cast<double>(integerValue(*record.expiresSystime)) / 1000.0 - now;
    // Tokens that never live that long are not reissued before every call.
    const double wanted =
        std::min(static_cast<double>(options.freshFor.count()), static_cast<double>(lifetime) / 2);
    if (left < wanted) state.stale = record.accessToken;
    state.isExpired = left <= 0;
    return state;
  });
}

RequestBundle bundleOf(Call& call) {
  RequestBundle bundle;
  bundle.setUrl(std::move(call.url));
  bundle.setHttpMethod(call.method);
  bundle.setRequestType(call.requestType);
  bundle.setResponseType(call.responseType);
  bundle.setParameters(std::move(call.parameters));
  bundle.setPayload(std::move(call.payload));
  if (call.upload) {
    bundle.setUploadFilePath(call.upload->path);
    bundle.setUploadFileKey(call.upload->key);
  }
  return bundle;
}

/// What passes a transfer's progress on: the latest one, when the callbacks' thread gets to it.
std::function<void(const platform::HttpProgress&)>
progressFor(std::weak_ptr<Outcome<Answer>> outcome, std::function<void(const Progress&)> receive) {
  struct Latest {
    std::mutex mutex;
    Progress progress;
    bool isPosted = false;
  };
  return [outcome = std::move(outcome), receive = std::move(receive),
          latest = std::make_shared<Latest>()](const platform::HttpProgress& now) {
    {
      const std::lock_guard lock(latest->mutex);
      latest->progress = now;
      if (std::exchange(latest->isPosted, true)) return;
    }
    const auto state = outcome.lock();
    if (!state) return;
    state->notify([receive, latest] {
      std::unique_lock lock(latest->mutex);
      latest->isPosted = false;
      const Progress progress = latest->progress;
      lock.unlock();
      receive(progress);
    });
  };
}

double random() {
  thread_local std::minstd_rand engine{std::random_device{}()};
  return std::uniform_real_distribution<double>(0, 1)(engine);
}

} // namespace

CallRun::CallRun(Call call, std::shared_ptr<const ClientOptions> options,
                 std::shared_ptr<Outcome<Answer>> outcome)
    : call_(std::make_unique<Call>(std::move(call))), method_(call_->method),
      responseType_(call_->responseType), retry_(call_->retry), options_(std::move(options)),
      outcome_(std::move(outcome)),
      deadline_(Timer::shared().at(
          Timer::Clock::now() +
              std::clamp<std::chrono::milliseconds>(call_->timeout, 0ms, 24h * 24),
          [waiting = std::weak_ptr(outcome_)] {
            const auto state = waiting.lock();
            if (state) state->fail({.kind = ApiErrorKind::TimedOut, .text = "The time was up"});
          })) {}

CallRun::~CallRun() {
  Timer::shared().forget(deadline_);
  wipe(parameters_);
}

void CallRun::start() {
  outcome_->cancelWith(call_->stop);
  if (auto problem = callProblem(*call_)) return end(std::move(*problem));
  if (!call_->upload) return run(&CallRun::prepare);
  // Reading the file may take long.
  if (!runOnWorker([self = shared_from_this()] { self->run(&CallRun::prepare); })) end(tooLarge());
}

void CallRun::run(Step step) {
  if (outcome_->stopToken().stop_requested()) return;
  withinMemory([&] { (this->*step)(); }, [this] { end(tooLarge()); });
}

template <void (CallRun::*kStep)(HttpResult)>
platform::HttpClient::Completion CallRun::then() {
  return [self = shared_from_this()](HttpResult answer) {
    if (self->outcome_->stopToken().stop_requested()) return;
    withinMemory([&] { ((*self).*kStep)(std::move(answer)); }, [&] { self->end(tooLarge()); });
  };
}

void CallRun::prepare() {
  const std::unique_ptr<Call> call = std::move(call_);
  if (call->upload && !isReadable(call->upload->path)) {
    return end(invalidCall("The file cannot be read: " + call->upload->path));
  }
  RequestBundle bundle = bundleOf(*call);
  request_ = std::make_shared<HttpRequest>(requestWithoutTokens(bundle));
  addressLength_ = request_->url.size();
  request_->wantsHead = call->wantsHead;
  if (call->progress) request_->progress = progressFor(outcome_, std::move(call->progress));
  if (encryptsParameters(method_)) {
    parameters_ = parameterText(*bundle.parameters());
    if (!parameters_) return end(invalidCall("A parameter's name is no UTF-8"));
  }
  freshen();
}

void CallRun::freshen() {
  TokenState tokens = tokenState(*options_);
  const WipeAtEnd wiped(tokens.stale);
  if (!tokens.hasClientId) return end(invalidCall(std::string(VornelError005)));
  if (!tokens.isSignedIn) return end(signedOut());
  if (!tokens.stale) return begin();
  TokenRefresh::shared().renew(
      tokens.stale, [self = shared_from_this(),
                     isExpired = tokens.isExpired](const std::optional<ApiError>& problem) {
        const bool isOver = problem && (isExpired || problem->kind == ApiErrorKind::SignedOut);
        isOver ? self->fail(*problem) : self->run(&CallRun::begin);
      });
}

void CallRun::begin() {
  // The transport may still hold what was sent.
  if (std::exchange(hasBegun_, true)) request_ = std::make_shared<HttpRequest>(*request_);
  if (!parameters_) return transmit("");
  KeyRequest key = newKeyRequest(TokenRecordStore::fields().clientId.value_or(""));
  request_->headerFields.set("swap_key", key.swapKey);
  // It is open by the time that the key is there, which changes the request on another thread.
  Platform::current().httpClient->openConnection(request_->url);
  send(std::make_shared<HttpRequest>(std::move(key.request)), then<&CallRun::takeKey>());
}

void CallRun::takeKey(HttpResult answer) {
  const WipeAtEnd wiped(answer.body);
  if (answer.error) {
    const ApiError why = transportError(answer);
    return fail({.kind = ApiErrorKind::KeyNotHad, .text = why.text});
  }
  const Text enc = encryptUnderAnswer(answer.body, *parameters_);
  if (!enc) {
    return fail({.kind = ApiErrorKind::KeyNotHad, .text = "The server's answer holds no key"});
  }
  transmit("?enc=" + *enc);
}

void CallRun::transmit(std::string_view query) {
  request_->url.resize(addressLength_);
  request_->url += query;
  sendWithTokens();
}

void CallRun::sendWithTokens() {
  addKeyAndTokens(*request_, {}, nullptr);
  if (!TokenRecordStore::isSaved()) {
    return TokenRecordStore::whenSaved(
        [self = shared_from_this()] { self->run(&CallRun::sendWithTokens); });
  }
  const auto token = request_->headerFields.get(VORNEL_HEADER_ACCESS_TOKEN);
  if (!isToken(token)) return end(signedOut()); // since the call began
  addAcceptFields(*request_, Global::getContentType(static_cast<std::uint64_t>(responseType_)));
  send(request_, then<&CallRun::takeAnswer>());
}

void CallRun::send(std::shared_ptr<HttpRequest> request,
                   platform::HttpClient::Completion completion) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline_.first - Timer::Clock::now());
  request->timeout = std::max(left, std::chrono::milliseconds(1));
  request->stopToken = outcome_->stopToken();
  Platform::current().httpClient->sendAsynchronously(std::move(request), std::move(completion));
}

void CallRun::takeAnswer(HttpResult answer) {
  const bool isWhole = !answer.error && answer.response;
  const long status = isWhole ? answer.response->statusCode : 0;
  if (status == kUnauthorized && options_->reissuesAfter401 && !wasRenewed_) return renew();
  const std::chrono::seconds retryAfter = isWhole ? answer.response->retryAfter : 0s;
  if (auto problem = answerProblem(answer)) return fail(std::move(*problem), retryAfter);
  end(Answer{
      .status = status, .body = std::move(answer.body), .head = std::move(answer.response->head)});
}

void CallRun::renew() {
  wasRenewed_ = true;
  const auto sent = request_->headerFields.get(VORNEL_HEADER_ACCESS_TOKEN);
  TokenRefresh::shared().renew(sent ? Text(*sent) : Text(),
                               [self = shared_from_this()](const std::optional<ApiError>& problem) {
                                 problem ? self->fail(*problem) : self->run(&CallRun::begin);
                               });
}

void CallRun::fail(ApiError error, std::chrono::seconds retryAfter) {
  if (outcome_->stopToken().stop_requested()) return;
  const auto pause = pauseBeforeRetry(method_, retry_, error, retries_, retryAfter, random());
  const auto next = Timer::Clock::now() + pause.value_or(0ms);
  if (!pause || next >= deadline_.first) return end(std::move(error));
  ++retries_;
  const auto again = [self = shared_from_this()] { self->run(&CallRun::freshen); };
  if (Timer::shared().at(next, again).second == 0) end(std::move(error));
}

void CallRun::end(Result<Answer> result) {
  outcome_->settle(std::move(result));
}

} // namespace quarnet
