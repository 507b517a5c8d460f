#include "quarnet/client/TokenRefresh.h"

#include "quarnet/client/CallErrors.h"
#include "quarnet/client/OfProcess.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/oauth/TokenAddresses.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/Platform.h"

#include <utility>

namespace quarnet {

using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

/// Takes the new tokens over, or says why there are none.
std::optional<ApiError> take(const HttpResult& answer, const Text& refreshToken) {
  log("reissueAccessToken : ", formatted(utf8Text(answer.body)));
  if (answer.error) return transportError(answer);
  // Whoever signed in or out meanwhile has the last word, in both cases.
  if (const auto taken = readIssuedTokens(answer.body, TokenRecordStore::fields())) {
    if (TokenRecordStore::takeInPlaceOf(refreshToken, *taken)) TokenRecordStore::save();
  } else if (isTokenRefusal(answer)) {
    TokenRecordStore::lose(refreshToken);
  } else {
    return refusal(answer);
  }
  const auto record = TokenRecordStore::fields();
  if (!isToken(record.accessToken)) return signedOut();
  if (TokenRecordStore::isLost(record.refreshToken)) return sessionLost(answer.body);
  return std::nullopt;
}

} // namespace

TokenRefresh& TokenRefresh::shared() {
  return ofProcess<TokenRefresh>();
}

void TokenRefresh::renew(const Text& stale, const Done& done) {
  std::optional<ApiError> problem;
  Text used;
  bool begins = false;
  {
    const std::lock_guard lock(mutex_);
    const auto record = TokenRecordStore::fields();
    if (!isToken(record.refreshToken)) {
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
  if (begins) return send(used);
  done(std::move(problem));
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
      },
      [&] { finish(refreshToken, tooLarge()); });
}

void TokenRefresh::finish(const Text& refreshToken, const std::optional<ApiError>& problem) {
  decltype(waiting_)::node_type ended;
  {
    const std::lock_guard lock(mutex_);
    ended = waiting_.extract(*refreshToken);
  }
  for (const Done& done : ended.mapped())
    done(problem);
}

} // namespace quarnet
