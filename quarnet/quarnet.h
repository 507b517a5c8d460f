#pragma once

// Everything that an application needs of the library; the toolkits have headers of their own
// ("quarnet/platform/gtk/GtkToolkit.h", "quarnet/platform/headless/HeadlessToolkit.h").

#include "quarnet/client/Client.h"
#include "quarnet/core/Callback.h"
#include "quarnet/core/Constants.h"
#include "quarnet/core/Error.h"
#include "quarnet/core/Global.h"
#include "quarnet/core/Hosts.h"
#include "quarnet/core/HttpHeader.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/RequestBundle.h"
#include "quarnet/core/ResponseMessage.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Version.h"
#include "quarnet/login/OAuthClient.h"
#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenAnswerMember.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/platform/RedactingLog.h"
#include "quarnet/platform/curl/CurlHttpClient.h"
#include "quarnet/platform/glib/GlibMainThread.h"
#include "quarnet/platform/sqlite/SqliteUserDefaults.h"
#include "quarnet/request/APIRequest.h"
