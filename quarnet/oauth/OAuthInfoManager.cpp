#include "quarnet/oauth/OAuthInfoManager.h"

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Registration.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/login/OAuthClient.h"
#include "quarnet/oauth/ReissueTurn.h"
#include "quarnet/oauth/Revocation.h"
#include "quarnet/oauth/SessionEvents.h"
#include "quarnet/oauth/TokenAddresses.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::deliver;
using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::plainPiece;
using platform::Platform;

namespace {

/// The answer to a GET; its body is empty when the transport failed, however much had arrived.
HttpResult get(std::string url, std::chrono::milliseconds timeout = platform::kRequestTimeout) {
  HttpResult result = Platform::current().httpClient->sendSynchronously(
      {.url = std::move(url), .timeout = timeout});
  if (result.error) result.body.clear();
  return result;
}

bool failForMemory() {
  log("Error = ", kNotEnoughMemory);
  return false;
}

} // namespace

OAuthInfoManager& OAuthInfoManager::sharedInstance() {
  static OAuthInfoManager* const instance = &(new OAuthInfoManager)->init();
  return *instance;
}

OAuthInfoManager::OAuthInfoManager() : registration_(std::make_shared<Registration>()) {
  platform::holdInForks(mutex_);
}

OAuthInfoManager& OAuthInfoManager::init() {
  OAuthInfo::sharedInstance();
  setOAuthClient(OAuthClient::make());
  setResponse_type("code");
  setRedirect_uri("about:blank");
  setGrant_type("authorization_code");
  return *this;
}

// Login.

void OAuthInfoManager::loginFinishedFailed(CallbackTriple callback) {
  oAuthInfo().writeToLog();
  restoreOAuthInfo();
  oAuthInfo().writeToLog();
  // An access token that is there decides, "(null)" and one that has expired included.
  if (!oAuthInfo().accessToken().value_or("").empty()) {
    if (reissueAccessToken()) {
      if (isToken(oAuthInfo().accessToken())) SessionEvents::publish(SessionEvent::Continued);
      // No callback: the application sees the fresh token in the record. This is meant.
      return log("Token Case 3 : to Success to Refresh Access Token");
    }
    log("Token Case 2 : Refresh Token is invalid");
  }
  if (const auto screen = oAuthClient()) screen->loginFinishedFailed(callback);
}

void OAuthInfoManager::login() {
  loginFinishedFailed({});
}

bool OAuthInfoManager::reissueAccessToken() {
  const auto reissue = [this] {
    const ReissueTurn turn(platform::kRequestTimeout);
    std::string url = reissueAddress(turn.refreshToken());
    // Whoever had the turn has used up the time otherwise.
    const bool isInTime = turn.left().count() > 0;
    const HttpResult answer = isInTime ? get(std::move(url), turn.left()) : HttpResult{};
    const Text text = utf8Text(answer.body);
    log("reissueAccessToken : ", formatted(text));
    // The marker decides, not the status: an error report that mentions it counts as a token
    // answer.
    if (!text || text->find("access_token") == std::string::npos) {
      if (isTokenRefusal(answer)) TokenRecordStore::lose(turn.refreshToken());
      return false;
    }
    takeAndSave(answer.body);
    return true;
  };
  return withinMemory(reissue, failForMemory);
}

std::string OAuthInfoManager::getAccessTokenReissueURL() {
  return reissueAddress(oAuthInfo().refreshToken());
}

// Logout.

void OAuthInfoManager::logoutFinishedFailed(CallbackTriple callback) {
  // All at once: a logout that is answered just now must not mix two registrations.
  registration_->set(callback);
  revokeTokenToServerAsynch();
}

void OAuthInfoManager::logout() {
  if (!revokeTokenToServer()) return log("Logout failed");
  log("Logout Success");
  TokenRecordStore::clear();
}

bool OAuthInfoManager::revokeTokenToServer() {
  const auto revoke = [this] {
    const Text text = utf8Text(get(getRevokeTokenUrl()).body);
    log("revokeTokenToServer : ", formatted(text));
    return confirmsRevocation(text);
  };
  return withinMemory(revoke, failForMemory);
}

void OAuthInfoManager::revokeTokenToServerAsynch() {
  withinMemory([this] { readUrl(getRevokeTokenUrl()); },
               [this] {
                 deliver(registration_, &CallbackTriple::failed,
                         resultDictionary("", kNotEnoughMemory, ""));
               });
}

void OAuthInfoManager::readUrl(const std::string& url) {
  Platform::current().httpClient->sendAsynchronously(
      std::make_shared<HttpRequest>(HttpRequest{.url = url}),
      [this](HttpResult result) { revocationAnswered(std::move(result), registration_); });
}

std::string OAuthInfoManager::getRevokeTokenUrl() {
  return revocationAddress(oAuthInfo().accessToken());
}

// Tokens between an answer, the record and the store.

void OAuthInfoManager::setOAuthInfoWithJSON(const Data& answer) {
  withinMemory([&] { takeAndSave(answer); }, [] { failForMemory(); });
}

void OAuthInfoManager::takeAndSave(const Data& answer) {
  const OAuthInfo::Fields taken = readTokenAnswer(answer);
  TokenRecordStore::take(taken, SessionEvent::Reissued);
  const auto writeToLog = [&] {
    log("ExtTime : ", plainPiece(formatted(taken.expiresIn)));
    oAuthInfo().writeToLog();
  };
  withinMemory(writeToLog, [] {}); // calls wait for what was taken to be saved
  saveOAuthInfo();
}

void OAuthInfoManager::saveOAuthInfo() {
  TokenRecordStore::save();
}

void OAuthInfoManager::restoreOAuthInfo() {
  TokenRecordStore::restore();
}

void OAuthInfoManager::setOAuthInfo(const OAuthInfo&) {
  // There is one record. Copying its fields to itself leaves "(null)" where nothing was, and no
  // more.
  oAuthInfo().fillAbsentTokens();
}

OAuthInfo& OAuthInfoManager::getOAuthInfo() {
  // A new record is the shared one.
  OAuthInfo& copy = OAuthInfo::allocWithZone().init();
  setOAuthInfo(copy);
  return copy;
}

Dictionary OAuthInfoManager::getOAuthInfoDictionary() {
  return TokenRecordStore::storedTokens();
}

// Fields.

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
