// The part of APIRequest that turns a bundle into the HTTP request in the process-wide slot.

#include "quarnet/core/Constants.h"
#include "quarnet/core/Global.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"
#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/platform/glib/UniqueString.h"
#include "quarnet/request/APIRequest.h"
#include "quarnet/request/Multipart.h"

#include <mutex>

namespace quarnet {

using platform::HttpRequest;
using platform::log;

namespace {

/// The process-wide slot: swapped whole, so that a reader always holds a complete request.
class Slot {
public:
  std::shared_ptr<const HttpRequest> get() {
    const std::lock_guard lock(mutex_);
    return request_;
  }
  void put(HttpRequest request) {
    auto shared = std::make_shared<const HttpRequest>(std::move(request));
    const std::lock_guard lock(mutex_);
    request_.swap(shared);
  }

private:
  std::mutex mutex_;
  std::shared_ptr<const HttpRequest> request_;
};

Slot& slot() {
  static Slot* const instance = new Slot;
  return *instance;
}

bool carriesBody(HttpMethod method) {
  return method == HttpMethod::PUT || method == HttpMethod::POST;
}

bool encryptsParameters(HttpMethod method) {
  return method == HttpMethod::GET || method == HttpMethod::DELETE;
}

std::string_view suffix(ContentFormat format) {
  return format == ContentFormat::XML ? ".xml" : ".json";
}

/// The method's name; empty for none of the four.
std::string_view methodName(HttpMethod method) {
  switch (method) {
  case HttpMethod::PUT:
    return "PUT";
  case HttpMethod::POST:
    return "POST";
  case HttpMethod::GET:
    return "GET";
  case HttpMethod::DELETE:
    return "DELETE";
  }
  return {};
}

void escapeValues(RequestBundle& bundle) {
  if (!bundle.parameters()) return;
  Parameters escaped;
  for (const auto& [key, value] : *bundle.parameters()) {
    escaped.emplace(key, value ? Text(StringUtil::escapedString(*value)) : Text());
  }
  bundle.setParameters(std::move(escaped));
}

/// "KEY=VALUE" pairs with each value escaped once and each key as the caller gave it.
Text parameterText(const RequestBundle& bundle) {
  const Text query = StringUtil::getQueryStringFromDictionary(bundle.parameters());
  return replacingPercentEscapes(query.value_or(""));
}

void setUpload(HttpRequest& request, const RequestBundle& bundle) {
  const std::string boundary = platform::globallyUniqueString();
  request.setHeaderField("Content-Type", "multipart/form-data; boundary=" + boundary);
  Multipart multipart =
      makeMultipart(boundary, formatted(bundle.uploadFileKey()), *bundle.uploadFilePath());
  log("photo size : ", std::to_string(multipart.fileSize));
  request.body = std::make_shared<const Data>(std::move(multipart.body));
}

void setPayload(HttpRequest& request, const RequestBundle& bundle, std::string contentType) {
  const Text& payload = bundle.payload();
  log("POST payload : ", formatted(payload));
  request.setHeaderField("Content-Type", std::move(contentType));
  request.setHeaderField("Content-Length", std::to_string(payload ? payload->size() : 0));
  if (payload) request.body = std::make_shared<const Data>(*payload);
}

void addKeyAndTokens(HttpRequest& request, const Text& swapKey, std::optional<Error>* error) {
  OAuthInfo& record = OAuthInfo::sharedInstance();
  if (swapKey) request.setHeaderField("swap_key", swapKey);
  const Text clientId = record.clientId();
  if (!clientId) storeError(error, makeError(5));
  request.setHeaderField(VORNEL_OAUTH_CLIENT_ID, clientId);
  request.setHeaderField(VORNEL_HEADER_ACCESS_TOKEN, record.accessToken());
  request.setHeaderField(VORNEL_HEADER_REFRESH_TOKEN, record.refreshToken());
}

void logHeaderFields(const HttpRequest& request) {
  if (!platform::Platform::current().log->isOn()) return;
  std::string text = "{";
  for (const auto& [name, value] : request.headerFields) {
    if (text.size() > 1) text += ", ";
    text.append(name).append(": ").append(value);
  }
  log("HTTPHeaderFields : ", text, "}");
}

} // namespace

std::shared_ptr<const HttpRequest> APIRequest::urlRequest() {
  return slot().get();
}

void APIRequest::_requestError(RequestBundle& bundle, std::optional<Error>* error) {
  if (bundle.url().value_or("").empty()) {
    log("requestBundle.url : ", formatted(bundle.url()));
    return storeError(error, makeError(2));
  }
  // Only the type asked for is checked: a wrong type of the body is sent as "error".
  std::string contentType =
      Global::getContentType(static_cast<std::uint64_t>(bundle.requestType()));
  std::string acceptType =
      Global::getContentType(static_cast<std::uint64_t>(bundle.responseType()));
  if (acceptType == "error") return storeError(error, makeError(3));

  bundle.setUrl(std::string(*bundle.url()).append(suffix(bundle.responseType())));
  escapeValues(bundle);

  const HttpMethod method = bundle.httpMethod();
  HttpRequest request{.url = *bundle.url()};
  request.headerFields.reserve(8); // as many as a call has
  Text swapKey;
  if (encryptsParameters(method)) {
    const Text parameters = parameterText(bundle);
    log("paramString : ", formatted(parameters));
    // A failure is not reported: the call then goes out without its parameters.
    std::optional<Error> dropped;
    if (const Text enc = encryptParamSwapKeyError(parameters, &swapKey, &dropped)) {
      request.url.append("?enc=").append(*enc);
    }
  }

  request.method = methodName(method);
  if (request.method.empty()) {
    slot().put(std::move(request));
    return storeError(error, makeError(1));
  }
  if (!carriesBody(method)) {
    request.setHeaderField("Content-Type", std::move(contentType));
  } else if (!bundle.uploadFilePath().value_or("").empty()) {
    setUpload(request, bundle);
  } else {
    setPayload(request, bundle, std::move(contentType));
  }

  addKeyAndTokens(request, swapKey, error);
  if (error != nullptr) {
    request.setHeaderField("Accept", std::move(acceptType));
    request.setHeaderField("Accept-Encoding", "utf-8");
    logHeaderFields(request);
  }
  slot().put(std::move(request));
}

void APIRequest::setHeaderErr(const Text& swapKey, std::optional<Error>* error) {
  const auto prepared = slot().get();
  HttpRequest request = prepared ? *prepared : HttpRequest{};
  addKeyAndTokens(request, swapKey, error);
  slot().put(std::move(request));
}

Text APIRequest::urlConverter(const RequestBundle& bundle) {
  const std::size_t count = bundle.parameters() ? bundle.parameters()->size() : 0;
  log("URL : ", formatted(bundle.url()));
  log("paramSize : ", std::to_string(count));
  if (count == 0) return bundle.url();
  std::string url(formatted(bundle.url()));
  url.append("?").append(*StringUtil::getQueryStringFromDictionary(bundle.parameters()));
  log("ENCODED URL : [", url, "]");
  return url;
}

} // namespace quarnet
