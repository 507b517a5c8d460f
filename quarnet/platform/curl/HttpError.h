#pragma once

#include "quarnet/platform/HttpClient.h"

#include <curl/curl.h>
#include <string>

namespace quarnet::platform {

/// A transport error: the domain "quarnet.http", libcurl's code (its nearest one for what is found
/// before libcurl is asked) and a description for people.
inline Error httpError(CURLcode code, std::string description) {
  return {.domain = "quarnet.http", .code = code, .description = std::move(description)};
}

/// The end of a request to which no answer came.
inline HttpResult failedResult(CURLcode code, std::string description) {
  HttpResult result;
  result.error = httpError(code, std::move(description));
  return result;
}

} // namespace quarnet::platform
