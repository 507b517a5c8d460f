#pragma once

#include "quarnet/platform/HttpRequest.h"

namespace quarnet::platform {

/// Why a request's method or header fields must not be sent; absent when they may.
Text headProblem(const HttpRequest& request);

/// Why nothing can be sent to this address; absent when it is an http or https address. What
/// follows the scheme is left to libcurl to find wrong.
Text addressProblem(const std::string& url);

} // namespace quarnet::platform
