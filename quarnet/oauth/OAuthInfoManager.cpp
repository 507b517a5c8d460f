#include "quarnet/oauth/OAuthInfoManager.h"

#include "quarnet/core/Registration.h"
#include "quarnet/login/OAuthClient.h"

namespace quarnet {

OAuthInfoManager& OAuthInfoManager::sharedInstance() {
  static OAuthInfoManager* const instance = &(new OAuthInfoManager)->init();
  return *instance;
}

OAuthInfoManager::OAuthInfoManager() : registration_(std::make_shared<Registration>()) {}

OAuthInfoManager& OAuthInfoManager::init() {
  OAuthInfo::sharedInstance();
  setOAuthClient(OAuthClient::make());
  setResponse_type("code");
  setRedirect_uri("about:blank");
  setGrant_type("authorization_code");
  return *this;
}

std::shared_ptr<OAuthClient> OAuthInfoManager::oAuthClient() const {
  const std::lock_guard lock(mutex_);
  return oAuthClient_;
}

void OAuthInfoManager::setOAuthClient(std::shared_ptr<OAuthClient> oAuthClient) {
  const std::lock_guard lock(mutex_);
  oAuthClient_.swap(oAuthClient);
}

Text OAuthInfoManager::clientId() const {
  return read(&Fields::clientId);
}
void OAuthInfoManager::setClientId(Text clientId) {
  write(&Fields::clientId, clientId);
  oAuthInfo().setClientId(std::move(clientId));
}

Text OAuthInfoManager::clientSecret() const {
  return read(&Fields::clientSecret);
}
void OAuthInfoManager::setClientSecret(Text clientSecret) {
  write(&Fields::clientSecret, std::move(clientSecret));
}

Text OAuthInfoManager::scope() const {
  return read(&Fields::scope);
}
void OAuthInfoManager::setScope(Text scope) {
  write(&Fields::scope, std::move(scope));
}

Text OAuthInfoManager::code() const {
  return read(&Fields::code);
}
void OAuthInfoManager::setCode(Text code) {
  write(&Fields::code, std::move(code));
}

Text OAuthInfoManager::response_type() const {
  return read(&Fields::responseType);
}
void OAuthInfoManager::setResponse_type(Text responseType) {
  write(&Fields::responseType, std::move(responseType));
}

Text OAuthInfoManager::redirect_uri() const {
  return read(&Fields::redirectUri);
}
void OAuthInfoManager::setRedirect_uri(Text redirectUri) {
  write(&Fields::redirectUri, std::move(redirectUri));
}

Text OAuthInfoManager::grant_type() const {
  return read(&Fields::grantType);
}
void OAuthInfoManager::setGrant_type(Text grantType) {
  write(&Fields::grantType, std::move(grantType));
}

Text OAuthInfoManager::error() const {
  return read(&Fields::error);
}
void OAuthInfoManager::setError(Text error) {
  write(&Fields::error, std::move(error));
}

Text OAuthInfoManager::errorDesc() const {
  return read(&Fields::errorDesc);
}
void OAuthInfoManager::setErrorDesc(Text errorDesc) {
  write(&Fields::errorDesc, std::move(errorDesc));
}

void* OAuthInfoManager::_target() const {
  return registration_->current().target;
}
void OAuthInfoManager::set_target(void* target) {
  registration_->set(&CallbackTriple::target, target);
}

Operation OAuthInfoManager::_finishedSelector() const {
  return registration_->current().finished;
}
void OAuthInfoManager::set_finishedSelector(Operation finished) {
  registration_->set(&CallbackTriple::finished, finished);
}

Operation OAuthInfoManager::_failedSelector() const {
  return registration_->current().failed;
}
void OAuthInfoManager::set_failedSelector(Operation failed) {
  registration_->set(&CallbackTriple::failed, failed);
}

Text OAuthInfoManager::read(Text Fields::*field) const {
  const std::lock_guard lock(mutex_);
  return fields_.*field;
}

void OAuthInfoManager::write(Text Fields::*field, Text value) {
  const std::lock_guard lock(mutex_);
  std::swap(fields_.*field, value);
}

} // namespace quarnet
