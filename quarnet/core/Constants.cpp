#include "quarnet/core/Constants.h"

namespace quarnet {

constinit const std::string_view VORNEL_HEADER_ACCESS_TOKEN = "access_token";
constinit const std::string_view VORNEL_HEADER_REFRESH_TOKEN = "refresh_token";
constinit const std::string_view VORNEL_OAUTH_CLIENT_ID = "client_id";
constinit const std::string_view VORNEL_OAUTH_RESPONSE_TYPE = "response_type";
constinit const std::string_view VORNEL_OAUTH_SCOPE = "scope";
constinit const std::string_view VORNEL_OAUTH_REDIRECT_URI = "redirect_uri";
constinit const std::string_view VORNEL_OAUTH_CLIENT_SECRET = "client_secret";
constinit const std::string_view VORNEL_OAUTH_CODE = "code";
constinit const std::string_view VORNEL_OAUTH_GRANT_TYPE = "grant_type";
constinit const std::string_view VORNEL_OAUTH_REFRESH_TOKEN = "refresh_token";
constinit const std::string_view VORNEL_OAUTH_TOKEN = "token";
constinit const std::string_view VORNEL_OAUTH_END_ACCESS_TOKEN = "access_token";
constinit const std::string_view VORNEL_OAUTH_END_REFRESH_TOKEN = "refresh_token";
constinit const std::string_view VORNEL_OAUTH_END_EXPIRES_IN = "expires_in";
constinit const std::string_view VORNEL_OAUTH_END_SCOPE = "scope";
constinit const std::string_view VORNEL_OAUTH_EXPIRES_SYSTIME = "expires_systime";

constinit const std::string_view VornelError001 = "HttpMethod is null";
constinit const std::string_view VornelError002 = "Url is null or empty";
constinit const std::string_view VornelError003 = "ReturnType-value is wrong";
constinit const std::string_view VornelError004 = "Header information is null";
constinit const std::string_view VornelError005 = "Client ID is null or empty";
constinit const std::string_view VornelError006 = "Context is null";
constinit const std::string_view VornelError007 = "Received data is empty";

constinit const std::string_view VornelAsyncResultCode = "RC";
constinit const std::string_view VornelAsyncResultMessage = "RM";
constinit const std::string_view VornelAsyncResultData = "RD";

constinit const double Quarnet_SDK_FWVersionNumber = 1.0;
constinit const std::string_view Quarnet_SDK_FWVersionString =
    "@(#)PROGRAM:Quarnet_SDK_FW  PROJECT:Quarnet_SDK-1\n";

} // namespace quarnet
