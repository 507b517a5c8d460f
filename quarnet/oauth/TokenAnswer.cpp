#include "quarnet/oauth/TokenAnswer.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/Json.h"
#include "quarnet/core/Numbers.h"
#include "quarnet/core/Text.h"
#include "quarnet/platform/Platform.h"

#include <limits>

namespace quarnet {
namespace {

using Int64 = std::numeric_limits<std::int64_t>;

std::int64_t milliseconds(std::int64_t seconds) {
  std::int64_t product = 0;
  if (!__builtin_mul_overflow(seconds, std::int64_t{1000}, &product)) return product;
  return seconds < 0 ? Int64::min() : Int64::max();
}

/// Milliseconds since the reference date, as decimal text.
std::string expiryInstant(std::string_view expiresIn) {
  const double now = platform::Platform::current().clock->secondsSinceReferenceDate();
  const auto lifetime = static_cast<double>(milliseconds(integerValue(expiresIn)));
  return std::to_string(truncated(now * 1000.0 + lifetime));
}

} // namespace

OAuthInfo::Fields readTokenAnswer(const Data& answer) {
  const std::optional<Json> json = Json::parse(answer);
  const auto copied = [&](std::string_view name) {
    return std::string(formatted(memberText(json, name)));
  };
  OAuthInfo::Fields taken;
  taken.accessToken = copied(VORNEL_OAUTH_END_ACCESS_TOKEN);
  taken.refreshToken = copied(VORNEL_OAUTH_END_REFRESH_TOKEN);
  taken.expiresIn = copied(VORNEL_OAUTH_END_EXPIRES_IN);
  taken.scope = copied(VORNEL_OAUTH_END_SCOPE);
  taken.expiresSystime = expiryInstant(*taken.expiresIn);
  return taken;
}

bool isToken(std::optional<std::string_view> text) {
  return text && !text->empty() && *text != "(null)";
}

std::optional<OAuthInfo::Fields> readIssuedTokens(const Data& answer,
                                                  const OAuthInfo::Fields& before) {
  const std::optional<Json> json = Json::parse(answer);
  const std::optional<Json> token =
      json ? json->member(VORNEL_OAUTH_END_ACCESS_TOKEN) : std::nullopt;
  OAuthInfo::Fields taken = readTokenAnswer(answer);
  if (!token || !token->isString() || !isToken(taken.accessToken)) return std::nullopt;
  if (!isToken(taken.refreshToken)) taken.refreshToken = before.refreshToken;
  if (!isToken(taken.scope)) taken.scope = before.scope;
  return taken;
}

bool isTokenRefusal(const platform::HttpResult& answer) {
  const long status = answer.response ? answer.response->statusCode : 0;
  if (answer.error || status >= 500 || status == 429) return false;
  const std::optional<Json> json = Json::parse(answer.body);
  return json && json->member("error");
}

} // namespace quarnet
