#include "quarnet/client/CallErrors.h"

#include "quarnet/core/Json.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/request/RequestAssembly.h"

#include <utility>

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

ApiError invalidCall(std::string text) {
  return {.kind = ApiErrorKind::InvalidCall, .text = std::move(text)};
}

std::optional<ApiError> callProblem(const Call& call) {
  const bool isKnown = static_cast<std::uint64_t>(call.method) <= 3;
  const bool hasBody = !call.payload.empty() || call.upload;
  if (!isKnown) return invalidCall("There is no such method");
  if (call.url.empty()) return invalidCall("The call has no address");
  if (static_cast<std::uint64_t>(call.requestType) > 1 ||
      static_cast<std::uint64_t>(call.responseType) > 1) {
    return invalidCall("There is no such format");
  }
  if (encryptsParameters(call.method) && hasBody) {
    return invalidCall("GET and DELETE have parameters and no payload");
  }
  if (!encryptsParameters(call.method) && !call.parameters.empty()) {
    return invalidCall("POST and PUT have a payload and no parameters");
  }
  if (!call.payload.empty() && call.upload) return invalidCall("A call has a payload or a file");
  return std::nullopt;
}

std::optional<ApiError> answerProblem(platform::HttpResult& answer) {
  if (answer.error) return transportError(answer);
  const long status = answer.response ? answer.response->statusCode : 0;
  if (status < 200 || status > 299) return refusal(answer);
  if (isUtf8(answer.body, answer.utf8Size)) return std::nullopt;
  return ApiError{.kind = ApiErrorKind::NotUtf8,
                  .text = "The answer is no UTF-8",
                  .status = status,
                  .body = std::move(answer.body),
                  .head = std::move(answer.response->head)};
}

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
