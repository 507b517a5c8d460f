// What the login screen makes of the addresses that its page goes through.

#include "quarnet/core/Constants.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/login/OAuthClient.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenRequest.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::harmless;
using platform::log;
using platform::Platform;
using platform::Toolkit;

namespace {

/// A scheme of the server's own and the web's scheme for it.
struct SchemeRewrite {
  std::string_view scheme;
  /// How much of an address is compared with the scheme. One character less than the scheme has,
  /// so no address is ever rewritten: this is meant.
  std::size_t compared;
  std::string_view replacement;
};
constexpr SchemeRewrite kSchemeRewrites[] = {
    {"oauths://", 8, "https://"},
    {"oauth://", 7, "http://"},
};

void logAddress(std::string_view title, std::string_view url) {
  const auto [origin, rest] = platform::addressPieces(url);
  log(harmless(title), origin, rest);
}

/// The page that belongs into the system's browser.
bool isPortalPage(std::string_view url) {
  return url.starts_with(std::string("https://").append(VORNEL_URL_OAUTH_REDIRECT_URL).append("?"));
}

} // namespace

std::string OAuthClient::getOAuthorizationUrl() {
  const OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  return loggedAddress("OAuth Athorization URL : ", VORNEL_URL_OAUTH_AUTHEN,
                       {{VORNEL_OAUTH_CLIENT_ID, manager.clientId()},
                        {VORNEL_OAUTH_RESPONSE_TYPE, manager.response_type()},
                        {VORNEL_OAUTH_SCOPE, manager.scope()},
                        {VORNEL_OAUTH_REDIRECT_URI, manager.redirect_uri()}});
}

std::string OAuthClient::getOAccessTokenUrl() {
  const OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  return loggedAddress("OAuth AccessToken URL : ", VORNEL_URL_OAUTH_ACCESS,
                       {{VORNEL_OAUTH_CLIENT_ID, manager.clientId()},
                        {VORNEL_OAUTH_SCOPE, manager.scope()},
                        {VORNEL_OAUTH_REDIRECT_URI, manager.redirect_uri()},
                        {VORNEL_OAUTH_CLIENT_SECRET, manager.clientSecret()},
                        {VORNEL_OAUTH_CODE, manager.code()},
                        {VORNEL_OAUTH_GRANT_TYPE, manager.grant_type()}});
}

bool OAuthClient::webViewShouldStartLoadWithRequestNavigationType(platform::WebView&,
                                                                  const std::string& url, int) {
  logAddress("-[OAuthClient webView:shouldStartLoadWithRequest:navigationType:], URL : ", url);
  for (const auto& [scheme, compared, replacement] : kSchemeRewrites) {
    if (!sameIgnoringCase(std::string_view(url).substr(0, compared), scheme)) continue;
    const std::string rewritten = std::string(replacement) + url.substr(scheme.size());
    const auto [origin, rest] = platform::addressPieces(rewritten);
    log(harmless(scheme), "를 제거한 URL : ", origin, rest);
    if (const auto page = loginView()) page->load(rewritten);
    return false;
  }
  if (!isPortalPage(url)) return true;
  if (const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit) {
    toolkit->openExternally(url);
  }
  return false;
}

void OAuthClient::webViewDidFailLoadWithError(platform::WebView&,
                                              const platform::WebLoadError& error) {
  log("웹뷰 로딩 에러 : ", error.description, " ", error.userInfo);
}

void OAuthClient::webViewDidFinishLoad(platform::WebView& webView) {
  const std::string url(formatted(webView.currentUrl()));
  logAddress("요청 완료된 URL : ", url);
  // One address may be both: the exchange starts first, then the error is shown.
  if (url.find("access_complete_mobile") != std::string::npos) exchangeCode(url);
  if (url.find("error_description") != std::string::npos) showAuthorizationError(url);
}

void OAuthClient::exchangeCode(const std::string& url) {
  OAuthInfoManager::sharedInstance().setCode(
      StringUtil::getValueFromQueryStringKey(url, VORNEL_OAUTH_CODE));
  readUrl(getOAccessTokenUrl());
}

void OAuthClient::showAuthorizationError(const std::string& url) {
  const Text error = StringUtil::getValueFromQueryStringKey(url, "error");
  const Text description = StringUtil::getValueFromQueryStringKey(url, "error_description");
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  // The value of the key that is named like the error, not the error itself: this is meant.
  manager.setError(StringUtil::getValueFromQueryStringKey(url, formatted(error)));
  manager.setErrorDesc(description);

  const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit;
  if (!toolkit) return;
  const Text shown = description ? replacingPercentEscapes(*description) : std::nullopt;
  toolkit->showAlert(error.value_or(""), shown.value_or(""), "확인",
                     [screen = shared_from_this()] { screen->alertViewClickedButtonAtIndex(0); });
}

} // namespace quarnet
