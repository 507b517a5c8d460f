// The session manager's exchanges with the token and revocation endpoints after the first login.

#include "quarnet/core/Constants.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/oauth/TokenRequest.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::deliver;
using platform::harmless;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

/// The body of a GET; empty when the transport failed, however much had arrived by then.
Data get(std::string url) {
  HttpResult result = Platform::current().httpClient->sendSynchronously({.url = std::move(url)});
  return result.error ? Data() : std::move(result.body);
}

bool noMemory() {
  log("Error = ", kNotEnoughMemory);
  return false;
}

/// A text that is absent because it is not UTF-8 contains nothing.
bool contains(const Text& text, std::string_view marker) {
  return text && text->find(marker) != std::string::npos;
}

} // namespace

std::string OAuthInfoManager::getAccessTokenReissueURL() {
  return loggedAddress("OAuth RefreshToken URL : ", VORNEL_URL_OAUTH_ACCESS,
                       {{VORNEL_OAUTH_CLIENT_ID, clientId()},
                        {VORNEL_OAUTH_CLIENT_SECRET, clientSecret()},
                        {VORNEL_OAUTH_REDIRECT_URI, redirect_uri()},
                        {VORNEL_OAUTH_GRANT_TYPE, "refresh_token"},
                        {VORNEL_OAUTH_SCOPE, scope()},
                        {VORNEL_OAUTH_REFRESH_TOKEN, oAuthInfo().refreshToken()}});
}

std::string OAuthInfoManager::getRevokeTokenUrl() {
  return loggedAddress(
      "OAuth RevokeToken URL : ", VORNEL_URL_OAUTH_REVOKE,
      {{VORNEL_OAUTH_CLIENT_ID, clientId()}, {VORNEL_OAUTH_TOKEN, oAuthInfo().accessToken()}});
}

bool OAuthInfoManager::reissueAccessToken() {
  const auto reissue = [this] {
    const Data answer = get(getAccessTokenReissueURL());
    const Text text = utf8Text(answer);
    log("reissueAccessToken : ", formatted(text));
    // The marker decides, not the status: an error report that mentions it counts as a token
    // answer.
    if (!contains(text, "access_token")) return false;
    takeAndSave(answer);
    return true;
  };
  return withinMemory(reissue, [] { return noMemory(); });
}

bool OAuthInfoManager::revokeTokenToServer() {
  const auto revoke = [this] {
    const Text text = utf8Text(get(getRevokeTokenUrl()));
    log("revokeTokenToServer : ", formatted(text));
    return contains(text, "success");
  };
  return withinMemory(revoke, [] { return noMemory(); });
}

void OAuthInfoManager::revokeTokenToServerAsynch() {
  withinMemory([this] { readUrl(getRevokeTokenUrl()); },
               [this] {
                 deliver(registration_, &CallbackTriple::failed,
                         resultDictionary("", kNotEnoughMemory, ""));
               });
}

void OAuthInfoManager::readUrl(const std::string& url) {
  getAsynchronously(url, [this](HttpResult result) { revocationAnswered(std::move(result)); });
}

void OAuthInfoManager::revocationAnswered(HttpResult result) {
  if (result.error) {
    log("Error = ", harmless(formatted(result.error->description)));
    deliver(registration_, &CallbackTriple::failed,
            resultDictionary("", result.error->description, ""));
  } else if (!result.body.empty()) {
    endSession(utf8Text(std::move(result.body)));
  } else if (!error()) {
    // An empty answer calls nobody, and after a sign-in's error says nothing either: this is meant.
    log("Nothing was downloaded.");
  }
}

void OAuthInfoManager::endSession(Text answer) {
  // Any answer ends the session here, a refusal included; only the blocking logout waits for
  // "success".
  log("Logout Success");
  TokenRecordStore::clear();
  log("revokeTokenToServer : ", formatted(answer));
  // Who has no finished operation is not told of a refusal either: this is meant.
  if (!_finishedSelector()) return;
  const auto operation =
      contains(answer, "success") ? &CallbackTriple::finished : &CallbackTriple::failed;
  deliver(registration_, operation, resultDictionary("", "", std::move(answer)));
}

} // namespace quarnet
