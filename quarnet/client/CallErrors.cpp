#include "quarnet/client/CallErrors.h"

#include "quarnet/core/Json.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"

namespace quarnet {
namespace {

ApiErrorKind kindOf(platform::HttpFailure failure) {
  switch (failure) {
  case platform::HttpFailure::InvalidRequest:
    return ApiErrorKind::InvalidCall;
  case platform::HttpFailure::TimedOut:
    return ApiErrorKind::TimedOut;
  case platform::HttpFailure::TooLarge:
    return ApiErrorKind::TooLarge;
  case platform::HttpFailure::NoConnection:
    break;
  }
  return ApiErrorKind::NoConnection;
}

} // namespace

ApiError transportError(const platform::HttpResult& result) {
  return {.kind = kindOf(result.failure), .text = result.error->description.value_or("")};
}

ApiError refusal(const platform::HttpResult& result) {
  return {.kind = ApiErrorKind::Refused,
          .text = "The server refused the call",
          .status = result.response ? result.response->statusCode : 0,
          .body = result.body,
          .head = result.response ? result.response->head : ""};
}

ApiError signedOut() {
  return {.kind = ApiErrorKind::SignedOut, .text = "Nobody is signed in"};
}

ApiError sessionLost(const Data& report) {
  const std::optional<Json> json = Json::parse(report);
  ApiError lost{.kind = ApiErrorKind::SignedOut,
                .text = "The server does not reissue the tokens any more"};
  if (const Text code = memberText(json, "error")) lost.text += ": " + *code;
  if (const Text why = memberText(json, "error_description")) lost.text += " (" + *why + ")";
  return lost;
}

ApiError tooLarge() {
  return {.kind = ApiErrorKind::TooLarge, .text = std::string(kNotEnoughMemory)};
}

} // namespace quarnet
