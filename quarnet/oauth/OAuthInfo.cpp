#include "quarnet/oauth/OAuthInfo.h"

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Wipe.h"
#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

#include <array>
#include <utility>

namespace quarnet {

using platform::harmless;
using platform::Log;
using platform::plainPiece;

namespace {

/// getWholeInfo() in pieces, which live as long as the fields.
auto wholeInfo(const auto& fields) {
  const auto secret = [](const Text& text) { return Log::Piece{.text = formatted(text)}; };
  const auto plain = [](const Text& text) { return plainPiece(formatted(text)); };
  return std::to_array<Log::Piece>(
      {harmless("accessToken:"), secret(fields.accessToken), harmless("\nrefreshToken:"),
       secret(fields.refreshToken), harmless("\nexpiresIn:"), plain(fields.expiresIn),
       harmless("\nscope:"), plain(fields.scope), harmless("\nexpiresSystime:"),
       plain(fields.expiresSystime), harmless("\n")});
}

} // namespace

OAuthInfo& OAuthInfo::sharedInstance() {
  static OAuthInfo* const instance = [] {
    auto* const made = new OAuthInfo;
    platform::holdInForks(made->mutex_);
    return made;
  }();
  return *instance;
}

Text OAuthInfo::clientId() const {
  return read(&Fields::clientId);
}
void OAuthInfo::setClientId(Text clientId) {
  write(&Fields::clientId, std::move(clientId));
}

Text OAuthInfo::accessToken() const {
  return read(&Fields::accessToken);
}
void OAuthInfo::setAccessToken(Text accessToken) {
  write(&Fields::accessToken, std::move(accessToken));
}

Text OAuthInfo::refreshToken() const {
  return read(&Fields::refreshToken);
}
void OAuthInfo::setRefreshToken(Text refreshToken) {
  write(&Fields::refreshToken, std::move(refreshToken));
}

Text OAuthInfo::expiresIn() const {
  return read(&Fields::expiresIn);
}
void OAuthInfo::setExpiresIn(Text expiresIn) {
  write(&Fields::expiresIn, std::move(expiresIn));
}

Text OAuthInfo::scope() const {
  return read(&Fields::scope);
}
void OAuthInfo::setScope(Text scope) {
  write(&Fields::scope, std::move(scope));
}

Text OAuthInfo::expiresSystime() const {
  return read(&Fields::expiresSystime);
}
void OAuthInfo::setExpiresSystime(Text expiresSystime) {
  write(&Fields::expiresSystime, std::move(expiresSystime));
}

std::string OAuthInfo::getWholeInfo() const {
  const Fields now = fields();
  return Log::text(wholeInfo(now));
}

void OAuthInfo::writeToLog() const {
  if (!platform::isLogOn()) return;
  const auto write = [this] {
    const Fields now = fields();
    platform::log("OAuth Info");
    platform::writeLine(wholeInfo(now));
  };
  withinMemory(write, [] {}); // the tokens matter more than the line
}

OAuthInfo::Fields OAuthInfo::fields() const {
  return withFields([](const Fields& now) { return now; });
}

void OAuthInfo::replaceTokens(Fields& tokens) {
  const std::lock_guard lock(mutex_);
  tokens.clientId.swap(fields_.clientId);
  std::swap(fields_, tokens);
}

void OAuthInfo::restoreTokens(Fields& tokens) {
  const std::lock_guard lock(mutex_);
  tokens.clientId.swap(fields_.clientId);
  tokens.scope.swap(fields_.scope);
  std::swap(fields_, tokens);
}

Text OAuthInfo::clearTokens() {
  const std::lock_guard lock(mutex_);
  Fields left;
  left.accessToken = "";
  left.refreshToken = "";
  left.expiresIn = "0";
  fields_.accessToken.swap(left.accessToken);
  fields_.refreshToken.swap(left.refreshToken);
  fields_.expiresIn.swap(left.expiresIn);
  return std::exchange(left.accessToken, {});
}

void OAuthInfo::fillAbsentTokens() {
  const std::lock_guard lock(mutex_);
  for (Text* const field : {&fields_.accessToken, &fields_.refreshToken, &fields_.expiresIn,
                            &fields_.scope, &fields_.expiresSystime}) {
    if (!*field) *field = formatted(std::nullopt);
  }
}

Text OAuthInfo::read(Text Fields::*field) const {
  const std::lock_guard lock(mutex_);
  return fields_.*field;
}

void OAuthInfo::write(Text Fields::*field, Text value) {
  {
    const std::lock_guard lock(mutex_);
    std::swap(fields_.*field, value);
  }
  wipe(value);
}

OAuthInfo::Fields::~Fields() {
  for (Text* const field :
       {&clientId, &accessToken, &refreshToken, &expiresIn, &scope, &expiresSystime})
    wipe(*field);
}

} // namespace quarnet
