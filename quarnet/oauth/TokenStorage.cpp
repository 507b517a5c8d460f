// The session manager's operations that move tokens between a token answer, the record and the
// store.

#include "quarnet/core/Constants.h"
#include "quarnet/core/Text.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::log;
using platform::plainPiece;
using platform::Platform;

void OAuthInfoManager::saveOAuthInfo() {
  const std::lock_guard lock(storing_);
  storeRecord();
}

void OAuthInfoManager::storeRecord() {
  const OAuthInfo::Fields record = oAuthInfo().fields();
  platform::UserDefaults& store = *Platform::current().userDefaults;
  store.setValue(VORNEL_HEADER_ACCESS_TOKEN, record.accessToken);
  store.setValue(VORNEL_HEADER_REFRESH_TOKEN, record.refreshToken);
  store.setValue(VORNEL_OAUTH_END_EXPIRES_IN, record.expiresIn);
  store.setValue(VORNEL_OAUTH_END_SCOPE, record.scope);
  store.setValue(VORNEL_OAUTH_EXPIRES_SYSTIME, record.expiresSystime);
  store.synchronize();
}

void OAuthInfoManager::restoreOAuthInfo() {
  const std::lock_guard lock(storing_);
  platform::UserDefaults& store = *Platform::current().userDefaults;
  OAuthInfo& record = oAuthInfo();
  record.setAccessToken(store.value(VORNEL_HEADER_ACCESS_TOKEN));
  record.setRefreshToken(store.value(VORNEL_HEADER_REFRESH_TOKEN));
  record.setExpiresIn(store.value(VORNEL_OAUTH_END_EXPIRES_IN));
  record.setExpiresSystime(store.value(VORNEL_OAUTH_EXPIRES_SYSTIME));
  // The scope is stored for others to read and is not restored: this is meant.
}

void OAuthInfoManager::setOAuthInfo(const OAuthInfo& info) {
  const OAuthInfo::Fields from = info.fields();
  OAuthInfo& record = oAuthInfo();
  record.setAccessToken(std::string(formatted(from.accessToken)));
  record.setRefreshToken(std::string(formatted(from.refreshToken)));
  record.setExpiresIn(std::string(formatted(from.expiresIn)));
  record.setScope(std::string(formatted(from.scope)));
  record.setExpiresSystime(std::string(formatted(from.expiresSystime)));
}

OAuthInfo& OAuthInfoManager::getOAuthInfo() {
  // A new record is the shared one: copying the fields into it leaves "(null)" where nothing was.
  OAuthInfo& copy = OAuthInfo::allocWithZone().init();
  setOAuthInfo(copy);
  return copy;
}

Dictionary OAuthInfoManager::getOAuthInfoDictionary() {
  platform::UserDefaults& store = *Platform::current().userDefaults;
  Dictionary stored;
  for (const std::string_view key : {VORNEL_HEADER_ACCESS_TOKEN, VORNEL_HEADER_REFRESH_TOKEN}) {
    Text value = store.value(key);
    if (!value) break; // without an access token the refresh token is not shown either
    stored[std::string(key)] = std::move(*value);
  }
  return stored;
}

void OAuthInfoManager::setOAuthInfoWithJSON(const Data& answer) {
  OAuthInfo& record = oAuthInfo();
  takeTokenAnswer(record, answer);
  log("ExtTime : ", plainPiece(formatted(record.expiresIn())));
  record.writeToLog();
  saveOAuthInfo();
}

} // namespace quarnet
