#include "quarnet/request/APIRequest.h"

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/request/AsynchronousAnswer.h"
#include "quarnet/request/Hex.h"
#include "quarnet/request/ParameterKey.h"
#include "quarnet/request/RequestAssembly.h"
#include "quarnet/request/RequestSlot.h"

#include <utility>

namespace quarnet {

using platform::harmless;
using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

/// Assembles the call and puts it into the slot. Throws std::bad_alloc, as send() and start() do.
void prepare(RequestBundle& bundle, std::optional<Error>* error) {
  if (auto request = assembleRequest(bundle, error)) RequestSlot::put(std::move(*request));
}

ResponseMessage makeMessage(std::string statusCode, Text text) {
  ResponseMessage message;
  message.setStatusCode(std::move(statusCode));
  message.setResultMessage(std::move(text));
  return message;
}

std::optional<ResponseMessage> send(RequestBundle& bundle, std::optional<Error>* error) {
  std::optional<Error> failure;
  prepare(bundle, &failure);
  if (failure) {
    storeError(error, std::move(*failure));
    return std::nullopt;
  }
  HttpResult answer = Platform::current().httpClient->sendSynchronously(*RequestSlot::get());
  Text text = answer.body.empty() ? Text() : utf8Text(std::move(answer.body), answer.utf8Size);
  log("Response data is going to be ==> ", formatted(text));
  // An answer that broke off is none, whatever its head said: half a body never looks like success.
  const long status = answer.response && !answer.error ? answer.response->statusCode : 0;
  if (status != 200) storeError(error, apiError(answer.error ? answer.error->description : Text()));
  return makeMessage(std::to_string(status), std::move(text));
}

void start(RequestBundle& bundle, const std::shared_ptr<AsynchronousAnswer>& answer) {
  std::optional<Error> failure;
  prepare(bundle, &failure);
  if (failure) return answer->fail("", failure->description);
  answer->write(&AsynchronousAnswer::receivedData, std::optional<Data>(""));
  Platform::current().httpClient->sendAsynchronously(
      RequestSlot::get(), [answer](HttpResult result) { answer->take(std::move(result)); });
}

} // namespace

APIRequest::APIRequest() : answer_(std::make_shared<AsynchronousAnswer>()) {}
APIRequest::~APIRequest() = default;
APIRequest::APIRequest(APIRequest&& other) noexcept : APIRequest() {
  answer_.swap(other.answer_);
}
APIRequest& APIRequest::operator=(APIRequest&& other) noexcept {
  answer_ = std::exchange(other.answer_, std::make_shared<AsynchronousAnswer>());
  return *this;
}

// Synchronous calls.

std::optional<ResponseMessage> APIRequest::requestError(RequestBundle& bundle,
                                                        std::optional<Error>* error) {
  const auto tooLarge = [error] {
    storeError(error, notEnoughMemory());
    return std::optional(makeMessage("0", std::nullopt));
  };
  return withinMemory([&] { return send(bundle, error); }, tooLarge);
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

// Asynchronous calls.

void APIRequest::setCallback(CallbackTriple callback) {
  answer_->registration->set(callback);
}

void APIRequest::aSyncRequest(RequestBundle& bundle) {
  withinMemory([&] { start(bundle, answer_); }, [&] { answer_->failForMemory(); });
}

void APIRequest::aSyncRequestHTTPMethod(RequestBundle& bundle, HttpMethod method) {
  bundle.setHttpMethod(method);
  aSyncRequest(bundle);
}

void APIRequest::aSyncRequestURLHTTPMethod(RequestBundle& bundle, Text url, HttpMethod method) {
  bundle.setHttpMethod(method);
  bundle.setUrl(std::move(url));
  aSyncRequest(bundle);
}

// The steps of a call.

void APIRequest::_requestError(RequestBundle& bundle, std::optional<Error>* error) {
  withinMemory([&] { prepare(bundle, error); }, [&] { storeError(error, notEnoughMemory()); });
}

void APIRequest::setHeaderErr(const Text& swapKey, std::optional<Error>* error) {
  const auto add = [&] {
    const auto prepared = RequestSlot::get();
    HttpRequest request = prepared ? *prepared : HttpRequest{};
    addKeyAndTokens(request, swapKey, error);
    RequestSlot::put(std::move(request));
  };
  withinMemory(add, [&] { storeError(error, notEnoughMemory()); });
}

std::shared_ptr<const HttpRequest> APIRequest::urlRequest() {
  return RequestSlot::get();
}

Text APIRequest::urlConverter(const RequestBundle& bundle) {
  const std::size_t count = bundle.parameters() ? bundle.parameters()->size() : 0;
  const auto [origin, rest] = platform::addressPieces(formatted(bundle.url()));
  log("URL : ", origin, rest);
  log("paramSize : ", harmless(std::to_string(count)));
  const auto convert = [&, size = origin.text.size()]() -> Text {
    if (count == 0) return bundle.url();
    std::string url(formatted(bundle.url()));
    url.append("?").append(*StringUtil::getQueryStringFromDictionary(bundle.parameters()));
    const std::string_view text = url;
    log("ENCODED URL : [", harmless(text.substr(0, size)), text.substr(size), "]");
    return url;
  };
  return withinMemory(convert, [] { return Text(); });
}

Text APIRequest::encryptParamSwapKeyError(const Text& parameters, Text* swapKey,
                                          std::optional<Error>* error) {
  return withinMemory([&] { return encryptParameters(parameters, swapKey, error); },
                      [&] {
                        storeError(error, notEnoughMemory());
                        return Text();
                      });
}

std::optional<Data> APIRequest::AES256EncryptWithKeyIvectorData(const Text& key, const Text& iv,
                                                                std::string_view data) {
  return withinMemory([&] { return encryptUnder(key, iv, data); },
                      [] { return std::optional<Data>(); });
}

std::string APIRequest::hexEncode(std::optional<std::string_view> data) {
  return data ? hexEncoded(*data) : std::string();
}

// Fields.

std::optional<Data> APIRequest::receivedData() const {
  return answer_->read(&AsynchronousAnswer::receivedData);
}
void APIRequest::setReceivedData(std::optional<Data> receivedData) {
  answer_->write(&AsynchronousAnswer::receivedData, std::move(receivedData));
}

std::optional<platform::HttpResponse> APIRequest::response() const {
  return answer_->read(&AsynchronousAnswer::response);
}
void APIRequest::setResponse(std::optional<platform::HttpResponse> response) {
  answer_->write(&AsynchronousAnswer::response, std::move(response));
}

Text APIRequest::result() const {
  return answer_->read(&AsynchronousAnswer::result);
}
void APIRequest::setResult(Text result) {
  answer_->write(&AsynchronousAnswer::result, std::move(result));
}

std::optional<HttpHeader> APIRequest::httpHeader() const {
  return answer_->read(&AsynchronousAnswer::httpHeader);
}
void APIRequest::setHttpHeader(std::optional<HttpHeader> httpHeader) {
  answer_->write(&AsynchronousAnswer::httpHeader, std::move(httpHeader));
}

void* APIRequest::_target() const {
  return answer_->registration->current().target;
}
void APIRequest::set_target(void* target) {
  answer_->registration->set(&CallbackTriple::target, target);
}

Operation APIRequest::_finishedSelector() const {
  return answer_->registration->current().finished;
}
void APIRequest::set_finishedSelector(Operation finished) {
  answer_->registration->set(&CallbackTriple::finished, finished);
}

Operation APIRequest::_failedSelector() const {
  return answer_->registration->current().failed;
}
void APIRequest::set_failedSelector(Operation failed) {
  answer_->registration->set(&CallbackTriple::failed, failed);
}

} // namespace quarnet
