#include "quarnet/oauth/TokenAddresses.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/Text.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

#include <algorithm>
#include <initializer_list>
#include <vector>

namespace quarnet {

using platform::harmless;
using platform::Log;

namespace {

struct Parameter {
  std::string_view name;
  Text value;
};

/// Whether the parameter is one of the client's configuration that nobody keeps secret.
bool isOpen(const Parameter& parameter) {
  const std::string_view open[] = {VORNEL_OAUTH_CLIENT_ID, VORNEL_OAUTH_RESPONSE_TYPE,
                                   VORNEL_OAUTH_REDIRECT_URI, VORNEL_OAUTH_GRANT_TYPE,
                                   VORNEL_OAUTH_SCOPE};
  return std::ranges::find(open, parameter.name) != std::end(open) &&
         platform::plainPiece(formatted(parameter.value)).isHarmless;
}

/// The address with these parameters, each as "NAME=VALUE". Written to the log behind `title`.
std::string loggedAddress(std::string_view title, std::string_view endpoint,
                          std::initializer_list<Parameter> parameters) {
  std::vector<Text> values;
  for (const Parameter& parameter : parameters)
    values.push_back(addingPercentEscapes(parameter.value));
  std::vector<Log::Piece> line = {harmless(title), harmless(endpoint)};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Parameter& parameter = parameters.begin()[i];
    line.insert(line.end(),
                {harmless(i == 0 ? "?" : "&"), harmless(parameter.name), harmless("="),
                 Log::Piece{.text = formatted(values[i]), .isHarmless = isOpen(parameter)}});
  }
  platform::writeLine(line);
  return Log::text(std::span(line).subspan(1));
}

const OAuthInfoManager& manager() {
  return OAuthInfoManager::sharedInstance();
}

} // namespace

std::string authorizationAddress() {
  return loggedAddress("OAuth Athorization URL : ", VORNEL_URL_OAUTH_AUTHEN,
                       {{VORNEL_OAUTH_CLIENT_ID, manager().clientId()},
                        {VORNEL_OAUTH_RESPONSE_TYPE, manager().response_type()},
                        {VORNEL_OAUTH_SCOPE, manager().scope()},
                        {VORNEL_OAUTH_REDIRECT_URI, manager().redirect_uri()}});
}

std::string codeExchangeAddress() {
  return loggedAddress("OAuth AccessToken URL : ", VORNEL_URL_OAUTH_ACCESS,
                       {{VORNEL_OAUTH_CLIENT_ID, manager().clientId()},
                        {VORNEL_OAUTH_SCOPE, manager().scope()},
                        {VORNEL_OAUTH_REDIRECT_URI, manager().redirect_uri()},
                        {VORNEL_OAUTH_CLIENT_SECRET, manager().clientSecret()},
                        {VORNEL_OAUTH_CODE, manager().code()},
                        {VORNEL_OAUTH_GRANT_TYPE, manager().grant_type()}});
}

std::string reissueAddress(const Text& refreshToken) {
  return loggedAddress("OAuth RefreshToken URL : ", VORNEL_URL_OAUTH_ACCESS,
                       {{VORNEL_OAUTH_CLIENT_ID, manager().clientId()},
                        {VORNEL_OAUTH_CLIENT_SECRET, manager().clientSecret()},
                        {VORNEL_OAUTH_REDIRECT_URI, manager().redirect_uri()},
                        {VORNEL_OAUTH_GRANT_TYPE, "refresh_token"},
                        {VORNEL_OAUTH_SCOPE, manager().scope()},
                        {VORNEL_OAUTH_REFRESH_TOKEN, refreshToken}});
}

std::string revocationAddress(const Text& accessToken) {
  return loggedAddress(
      "OAuth RevokeToken URL : ", VORNEL_URL_OAUTH_REVOKE,
      {{VORNEL_OAUTH_CLIENT_ID, manager().clientId()}, {VORNEL_OAUTH_TOKEN, accessToken}});
}

} // namespace quarnet
