// The session manager's operations that move tokens between a token answer, the record and the
// store.

#include "quarnet/core/Constants.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::log;
using platform::plainPiece;
using platform::Platform;

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
  const std::string_view keys[] = {VORNEL_HEADER_ACCESS_TOKEN, VORNEL_HEADER_REFRESH_TOKEN};
  auto values = Platform::current().userDefaults->values(keys);
  Dictionary stored;
  if (!values || values->size() != std::size(keys)) return stored;
  for (std::size_t i = 0; i < std::size(keys); ++i) {
    Text& value = (*values)[i];
    if (!value) break; // without an access token the refresh token is not shown either
    stored[std::string(keys[i])] = std::move(*value);
  }
  return stored;
}

void OAuthInfoManager::setOAuthInfoWithJSON(const Data& answer) {
  withinMemory([&] { takeAndSave(answer); }, [] { log("Error = ", kNotEnoughMemory); });
}

void OAuthInfoManager::takeAndSave(const Data& answer) {
  const OAuthInfo::Fields taken = takeTokenAnswer(answer);
  log("ExtTime : ", plainPiece(formatted(taken.expiresIn)));
  oAuthInfo().writeToLog();
  saveOAuthInfo();
}

} // namespace quarnet
