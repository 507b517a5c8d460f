#include "quarnet/oauth/OAuthInfo.h"

#include "quarnet/core/Text.h"

namespace quarnet {

constinit std::atomic<OAuthInfo*> OAuthInfo::shared_ = nullptr;

OAuthInfo& OAuthInfo::makeShared() {
  static OAuthInfo* const made = new OAuthInfo;
  shared_.store(made, std::memory_order_release);
  return *made;
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
  std::string text;
  const auto line = [&text](std::string_view name, const Text& value) {
    text.append(name).append(":").append(formatted(value)).append("\n");
  };
  line("accessToken", now.accessToken);
  line("refreshToken", now.refreshToken);
  line("expiresIn", now.expiresIn);
  line("scope", now.scope);
  line("expiresSystime", now.expiresSystime);
  return text;
}

OAuthInfo::Fields OAuthInfo::fields() const {
  const std::lock_guard lock(mutex_);
  return fields_;
}

void OAuthInfo::clearTokens() {
  const std::lock_guard lock(mutex_);
  fields_.accessToken = "";
  fields_.refreshToken = "";
  fields_.expiresIn = "0";
}

Text OAuthInfo::read(Text Fields::*field) const {
  const std::lock_guard lock(mutex_);
  return fields_.*field;
}

void OAuthInfo::write(Text Fields::*field, Text value) {
  const std::lock_guard lock(mutex_);
  std::swap(fields_.*field, value);
}

} // namespace quarnet
