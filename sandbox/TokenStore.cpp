#include "sandbox/TokenStore.h"

#include "sandbox/Crypto.h"

#include <algorithm>

namespace quarnet::sandbox {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kTokenLength = 40;
constexpr std::size_t kCodeLength = 24;
constexpr auto kCodeLifetime = std::chrono::minutes(1);

} // namespace

TokenStore::TokenStore(const Options& options)
    : accessLifetime_(options.accessTokenLifetime), refreshLifetime_(options.refreshTokenLifetime) {
}

Tokens TokenStore::issue(std::string scope, std::optional<std::chrono::seconds> lifetime) {
  const std::lock_guard lock(mutex_);
  return issueFor(++lastSignIn_, std::move(scope), lifetime.value_or(accessLifetime_));
}

std::string TokenStore::issueCode(std::string redirectUri, std::string scope) {
  std::string code = randomText(kCodeLength);
  const Time now = Clock::now();
  const std::lock_guard lock(mutex_);
  forgetExpired(now);
  codes_[code] = {std::move(redirectUri), std::move(scope), now + kCodeLifetime};
  return code;
}

std::optional<Tokens> TokenStore::exchangeCode(const std::string& code,
                                               const std::string& redirectUri) {
  const std::lock_guard lock(mutex_);
  const auto used = codes_.extract(code);
  if (!used) return std::nullopt;
  if (used.mapped().expires <= Clock::now() || used.mapped().redirectUri != redirectUri)
    return std::nullopt;
  return issueFor(++lastSignIn_, used.mapped().scope, accessLifetime_);
}

std::optional<Tokens> TokenStore::refresh(const std::string& refreshToken) {
  const std::lock_guard lock(mutex_);
  const auto used = refresh_.extract(refreshToken);
  if (!used || used.mapped().expires <= Clock::now()) return std::nullopt;
  return issueFor(used.mapped().signIn, used.mapped().scope, accessLifetime_);
}

bool TokenStore::revoke(const std::string& accessToken) {
  const std::lock_guard lock(mutex_);
  const auto found = access_.find(accessToken);
  if (found == access_.end() || found->second.expires <= Clock::now()) return false;
  const auto same = [signIn = found->second.signIn](const auto& entry) {
    return entry.second.signIn == signIn;
  };
  std::erase_if(access_, same);
  std::erase_if(refresh_, same);
  return true;
}

bool TokenStore::isLive(const std::string& accessToken) const {
  const std::lock_guard lock(mutex_);
  const auto found = access_.find(accessToken);
  return found != access_.end() && found->second.expires > Clock::now();
}

Tokens TokenStore::issueFor(std::uint64_t signIn, std::string scope,
                            std::chrono::seconds lifetime) {
  const Time now = Clock::now();
  forgetExpired(now);
  Tokens tokens{randomText(kTokenLength), randomText(kTokenLength), std::move(scope), lifetime};
  access_[tokens.accessToken] = {signIn, tokens.scope, now + lifetime};
  refresh_[tokens.refreshToken] = {signIn, tokens.scope, now + refreshLifetime_};
  return tokens;
}

void TokenStore::forgetExpired(Time now) {
  if (access_.size() + refresh_.size() + codes_.size() < nextSweep_) return;
  const auto expired = [now](const auto& entry) { return entry.second.expires <= now; };
  std::erase_if(access_, expired);
  std::erase_if(refresh_, expired);
  std::erase_if(codes_, expired);
  nextSweep_ = std::max<std::size_t>(1024, 2 * (access_.size() + refresh_.size() + codes_.size()));
}

} // namespace quarnet::sandbox
