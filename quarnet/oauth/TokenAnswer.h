#pragma once

#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/platform/HttpClient.h"

namespace quarnet {

/// What a token endpoint's JSON answer (RFC 6749, section 5.1) puts into the token record: the two
/// tokens, the lifetime, the scope, and when the access token expires. A member that is missing,
/// all of them when the answer is no JSON object, is "(null)". Throws std::bad_alloc.
OAuthInfo::Fields readTokenAnswer(const Data& answer);

/// Whether the text is a token, and not what stands for none.
bool isToken(std::optional<std::string_view> text);

/// The tokens that an answer really brings: absent when it holds no access token. A refresh token
/// and a scope that the answer leaves out are those of `before` (RFC 6749, sections 5.1 and 6).
std::optional<OAuthInfo::Fields> readIssuedTokens(const Data& answer,
                                                  const OAuthInfo::Fields& before);

/// Whether the token endpoint refuses what it was given, with the JSON member "error" (RFC 6749,
/// section 5.2), and is not just out of order. A page of somebody on the way is no refusal.
bool isTokenRefusal(const platform::HttpResult& answer);

} // namespace quarnet
