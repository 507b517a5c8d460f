#include "quarnet/client/TokenRefresh.h"

#include "quarnet/client/CallErrors.h"
#include "quarnet/client/Worker.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/oauth/ReissueTurn.h"
#include "quarnet/oauth/TokenAddresses.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/OfProcess.h"
#include "quarnet/platform/Platform.h"

#include <chrono>
#include <cstdlib>
#include <utility>

namespace quarnet {

using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

/// Why the session of this record cannot be used; absent when it can. `report` is what the server
/// said when it ended it, if that is known.
std::optional<ApiError> problemOf(const auto& record, const Data& report = {}) {
  if (!isToken(record.accessToken)) return signedOut();
  if (TokenRecordStore::isLost(record.refreshToken)) return sessionLost(report);
  return std::nullopt;
}

/// Takes the new tokens over, or says why there are none.
std::optional<ApiError> take(const HttpResult& answer, const Text& refreshToken) {
  log("reissueAccessToken : ", formatted(utf8Text(answer.body)));
  if (answer.error) return transportError(answer);
  // Whoever signed in or out meanwhile has the last word, in both cases.
  if (const auto taken = readIssuedTokens(answer.body, TokenRecordStore::fields())) {
    if (TokenRecordStore::takeInPlaceOf(refreshToken, *taken)) TokenRecordStore::save();
  } else if (isTokenRefusal(answer)) {
    if (!TokenRecordStore::catchUp(refreshToken)) TokenRecordStore::lose(refreshToken);
  } else {
    return refusal(answer);
  }
  return problemOf(TokenRecordStore::fields(), answer.body);
}

} // namespace

TokenRefresh& TokenRefresh::shared() {
  return platform::ofProcess<TokenRefresh>();
}

void TokenRefresh::renew(const Text& stale, const Done& done) {
  std::optional<ApiError> problem;
  Text used;
  bool begins = false;
  bool isSaved = true;
  {
    const std::lock_guard lock(mutex_);
    const auto record = TokenRecordStore::fields();
    isSaved = TokenRecordStore::isSaved();
    if (!isSaved) {
      // Neither token of it may be used yet.
    } else if (!isToken(record.refreshToken)) {
      problem = signedOut();
    } else if (TokenRecordStore::isLost(record.refreshToken)) {
      problem = sessionLost();
    } else if (record.accessToken == stale) {
      std::vector<Done>& waiting = waiting_[*record.refreshToken];
      waiting.push_back(done);
      if (waiting.size() > 1) return;
      used = record.refreshToken;
      begins = true;
    }
  }
  if (!isSaved) return renewWhenSaved(stale, done);
  if (begins) return begin(used, stale);
  done(std::move(problem));
}

void TokenRefresh::renewWhenSaved(const Text& stale, const Done& done) {
  TokenRecordStore::whenSaved([this, stale, done] {
    withinMemory([&] { renew(stale, done); }, [&] { done(tooLarge()); });
  });
}

void TokenRefresh::begin(const Text& refreshToken, const Text& stale) {
  const auto look = [this, refreshToken, stale] {
    const auto record = TokenRecordStore::fields();
    const auto problem = problemOf(record);
    const bool isSame = record.refreshToken == refreshToken && record.accessToken == stale;
    isSame && !problem ? begin(refreshToken, stale) : tell(refreshToken, problem);
  };
  const auto fail = [this, refreshToken] { tell(refreshToken, tooLarge()); };
  const auto whenFree = [look, fail] { withinMemory(look, fail); };
  if (!withinMemory([&] { return ReissueTurn::take(refreshToken, whenFree); },
                    [&] { return fail(), false; })) {
    return;
  }
  const auto send = [this, refreshToken] { sendUnlessReplaced(refreshToken); };
  if (!withinMemory([&] { return runOnWorker(send); }, [] { return false; })) {
    finish(refreshToken, tooLarge());
  }
}

void TokenRefresh::sendUnlessReplaced(const Text& refreshToken) {
  const auto catchUp = [&] { return TokenRecordStore::catchUp(refreshToken); };
  if (!withinMemory(catchUp, [] { return false; })) return send(refreshToken);
  finish(refreshToken, withinMemory([] { return problemOf(TokenRecordStore::fields()); },
                                    [] { return std::optional<ApiError>(tooLarge()); }));
}

void TokenRefresh::send(const Text& refreshToken) {
  const auto request = [&] {
    // A server that replaces refresh tokens takes one that comes again for stolen (RFC 9700, 4.14).
    return std::make_shared<const HttpRequest>(
        HttpRequest{.url = reissueAddress(refreshToken), .isForOnce = true});
  };
  withinMemory(
      [&] {
        Platform::current().httpClient->sendAsynchronously(
            request(), [this, refreshToken](const HttpResult& answer) {
              finish(refreshToken,
                     withinMemory([&] { return take(answer, refreshToken); },
                                  [] { return std::optional<ApiError>(tooLarge()); }));
            });
        // After the transport's own, and so run before it.
        static const int once [[maybe_unused]] = std::atexit([] { shared().waitAtExit(); });
      },
      [&] { finish(refreshToken, tooLarge()); });
}

void TokenRefresh::finish(const Text& refreshToken, const std::optional<ApiError>& problem) {
  ReissueTurn::giveBack(refreshToken);
  tell(refreshToken, problem);
}

void TokenRefresh::tell(const Text& refreshToken, const std::optional<ApiError>& problem) {
  decltype(waiting_)::node_type ended;
  {
    const std::lock_guard lock(mutex_);
    ended = waiting_.extract(*refreshToken);
  }
  for (const Done& done : ended.mapped())
    done(problem);
  told_.notify_all();
}

void TokenRefresh::waitAtExit() {
  constexpr std::chrono::seconds kPatience{5};
  std::unique_lock lock(mutex_);
  told_.wait_for(lock, kPatience, [this] { return waiting_.empty(); });
}

} // namespace quarnet
