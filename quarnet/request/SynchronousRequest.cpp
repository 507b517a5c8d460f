// The part of APIRequest that sends a call and waits for its answer.

#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/request/APIRequestState.h"

#include <utility>

namespace quarnet {

using platform::HttpResult;
using platform::log;
using platform::Platform;

std::optional<ResponseMessage> APIRequest::send(RequestBundle& bundle,
                                                std::optional<Error>* error) {
  std::optional<Error> failure;
  prepare(bundle, &failure);
  if (failure) {
    storeError(error, std::move(*failure));
    return std::nullopt;
  }

  HttpResult answer = Platform::current().httpClient->sendSynchronously(*urlRequest());
  Text text = answer.body.empty() ? Text() : utf8Text(std::move(answer.body));
  log("Response data is going to be ==> ", formatted(text));
  // An answer that broke off is none, whatever its head said: half a body never looks like success.
  const long status = answer.response && !answer.error ? answer.response->statusCode : 0;
  ResponseMessage message;
  message.setStatusCode(std::to_string(status));
  message.setResultMessage(std::move(text));
  if (status != 200) {
    storeError(error, apiError(answer.error ? answer.error->description : Text()));
  }
  return message;
}

std::optional<ResponseMessage> APIRequest::requestError(RequestBundle& bundle,
                                                        std::optional<Error>* error) {
  return withinMemory([&] { return send(bundle, error); },
                      [&] {
                        storeError(error, notEnoughMemory());
                        std::optional<ResponseMessage> message(std::in_place);
                        message->setStatusCode("0");
                        return message;
                      });
}

std::optional<ResponseMessage> APIRequest::requestHTTPMethodError(RequestBundle& bundle,
                                                                  HttpMethod method,
                                                                  std::optional<Error>* error) {
  bundle.setHttpMethod(method);
  return requestError(bundle, error);
}

std::optional<ResponseMessage> APIRequest::requestURLHTTPMethodError(RequestBundle& bundle,
                                                                     Text url, HttpMethod method,
                                                                     std::optional<Error>* error) {
  bundle.setHttpMethod(method);
  bundle.setUrl(std::move(url));
  return requestError(bundle, error);
}

} // namespace quarnet
