#pragma once

#include "quarnet/core/Export.h"

#include <string_view>

namespace quarnet {

/// Names of request headers, query parameters, members of a token answer (RFC 6749, sections 4.1,
/// 5.1 and 6) and keys of the stored token record. Several share one text: each is named for its
/// use.
/// @{
QUARNET_EXPORT extern const std::string_view VORNEL_HEADER_ACCESS_TOKEN;
QUARNET_EXPORT extern const std::string_view VORNEL_HEADER_REFRESH_TOKEN;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_CLIENT_ID;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_RESPONSE_TYPE;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_SCOPE;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_REDIRECT_URI;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_CLIENT_SECRET;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_CODE;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_GRANT_TYPE;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_REFRESH_TOKEN;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_TOKEN;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_END_ACCESS_TOKEN;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_END_REFRESH_TOKEN;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_END_EXPIRES_IN;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_END_SCOPE;
QUARNET_EXPORT extern const std::string_view VORNEL_OAUTH_EXPIRES_SYSTIME;
/// @}

// Endpoint addresses. They start with the hosts that the library was built with and follow
// configureHosts(); read them where they are used and keep no copy from before that call.

/// The API's host, with its scheme.
QUARNET_EXPORT extern const std::string_view& VORNEL_URL_OAUTH_SERVER;
/// Authorization endpoint (RFC 6749, section 3.1).
QUARNET_EXPORT extern const std::string_view& VORNEL_URL_OAUTH_AUTHEN;
/// Token endpoint (RFC 6749, section 3.2).
QUARNET_EXPORT extern const std::string_view& VORNEL_URL_OAUTH_ACCESS;
/// Revocation endpoint.
QUARNET_EXPORT extern const std::string_view& VORNEL_URL_OAUTH_REVOKE;
/// Parameter-key endpoint: the one address on plain http, which is meant.
QUARNET_EXPORT extern const std::string_view& VORNEL_URL_OAUTH_PARAM_ENC_KEY;
/// The mobile web site.
QUARNET_EXPORT extern const std::string_view& VORNEL_MAIN_URL;
/// The portal's open page, without a scheme.
QUARNET_EXPORT extern const std::string_view& VORNEL_URL_OAUTH_REDIRECT_URL;

/// Descriptions of the error codes 1 to 7; 4 and 6 are never raised.
/// @{
QUARNET_EXPORT extern const std::string_view VornelError001;
QUARNET_EXPORT extern const std::string_view VornelError002;
QUARNET_EXPORT extern const std::string_view VornelError003;
QUARNET_EXPORT extern const std::string_view VornelError004;
QUARNET_EXPORT extern const std::string_view VornelError005;
QUARNET_EXPORT extern const std::string_view VornelError006;
QUARNET_EXPORT extern const std::string_view VornelError007;
/// @}

/// Keys of the result dictionary that callbacks receive.
/// @{
QUARNET_EXPORT extern const std::string_view VornelAsyncResultCode;
QUARNET_EXPORT extern const std::string_view VornelAsyncResultMessage;
QUARNET_EXPORT extern const std::string_view VornelAsyncResultData;
/// @}

/// The library's version as a number: 1.0.
QUARNET_EXPORT extern const double Quarnet_SDK_FWVersionNumber;
/// The library's version as what(1) finds it in a binary, with a line's end.
QUARNET_EXPORT extern const std::string_view Quarnet_SDK_FWVersionString;

} // namespace quarnet
