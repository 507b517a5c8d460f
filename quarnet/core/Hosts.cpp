#include "quarnet/core/Hosts.h"

#include "quarnet/core/Constants.h"

#include <list>
#include <string_view>

namespace quarnet {
namespace {

constinit std::string_view serverAddress = "https://" QUARNET_API_HOST;
constinit std::string_view authorizationAddress = "https://" QUARNET_API_HOST "/oauth/authorize";
constinit std::string_view tokenAddress = "https://" QUARNET_API_HOST "/oauth/token";
constinit std::string_view revocationAddress = "https://" QUARNET_API_HOST "/oauth/expireToken";
constinit std::string_view parameterKeyAddress =
    "http://" QUARNET_API_HOST "/oauth/get_param_enc_key";
constinit std::string_view mobileAddress = "https://" QUARNET_MOBILE_HOST;
constinit std::string_view portalAddress = QUARNET_PORTAL_HOST "/sso/openPage.do";

/// Never destroyed: the constants are views, and views that were handed out before stay good.
std::list<std::string>& keptTexts() {
  static std::list<std::string>* const instance = new std::list<std::string>;
  return *instance;
}

std::string_view kept(std::string text) {
  return keptTexts().emplace_back(std::move(text));
}

} // namespace

constinit const std::string_view& VORNEL_URL_OAUTH_SERVER = serverAddress;
constinit const std::string_view& VORNEL_URL_OAUTH_AUTHEN = authorizationAddress;
constinit const std::string_view& VORNEL_URL_OAUTH_ACCESS = tokenAddress;
constinit const std::string_view& VORNEL_URL_OAUTH_REVOKE = revocationAddress;
constinit const std::string_view& VORNEL_URL_OAUTH_PARAM_ENC_KEY = parameterKeyAddress;
constinit const std::string_view& VORNEL_MAIN_URL = mobileAddress;
constinit const std::string_view& VORNEL_URL_OAUTH_REDIRECT_URL = portalAddress;

void configureHosts(const Hosts& hosts) {
  if (!hosts.api.empty()) {
    serverAddress = kept("https://" + hosts.api);
    authorizationAddress = kept("https://" + hosts.api + "/oauth/authorize");
    tokenAddress = kept("https://" + hosts.api + "/oauth/token");
    revocationAddress = kept("https://" + hosts.api + "/oauth/expireToken");
    parameterKeyAddress = kept("http://" + hosts.api + "/oauth/get_param_enc_key");
  }
  if (!hosts.mobile.empty()) mobileAddress = kept("https://" + hosts.mobile);
  if (!hosts.portal.empty()) portalAddress = kept(hosts.portal + "/sso/openPage.do");
}

} // namespace quarnet
