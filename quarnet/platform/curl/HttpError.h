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

/// What such a code says to a program.
constexpr HttpFailure failureOf(CURLcode code) {
  switch (code) {
  case CURLE_OPERATION_TIMEDOUT:
    return HttpFailure::TimedOut;
  case CURLE_FILESIZE_EXCEEDED:
  case CURLE_OUT_OF_MEMORY:
    return HttpFailure::TooLarge;
  case CURLE_BAD_FUNCTION_ARGUMENT:
  case CURLE_URL_MALFORMAT:
    return HttpFailure::InvalidRequest;
  default:
    return HttpFailure::NoConnection;
  }
}

/// The end of a request to which no answer came.
inline HttpResult failedResult(CURLcode code, std::string description) {
  HttpResult result;
  result.error = httpError(code, std::move(description));
  result.failure = failureOf(code);
  return result;
}

} // namespace quarnet::platform
