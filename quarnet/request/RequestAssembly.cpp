#include "quarnet/request/RequestAssembly.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/Global.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/core/Wipe.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/platform/UniqueString.h"
#include "quarnet/request/Multipart.h"
#include "quarnet/request/ParameterKey.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quarnet {

using platform::harmless;
using platform::HttpRequest;
using platform::log;
using platform::Log;

namespace {

bool carriesBody(HttpMethod method) {
  return method == HttpMethod::PUT || method == HttpMethod::POST;
}

std::string contentType(ContentFormat format) {
  return Global::getContentType(static_cast<std::uint64_t>(format));
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

Parameters escaped(const Parameters& parameters) {
  Parameters result;
  for (const auto& [key, value] : parameters)
    result.emplace_hint(result.end(), key, value ? Text(escapeString(*value)) : Text());
  return result;
}

/// Both or, when it throws, none.
void writeBack(RequestBundle& bundle) {
  std::string url = *bundle.url();
  url.append(suffix(bundle.responseType()));
  if (bundle.parameters()) bundle.setParameters(escaped(*bundle.parameters()));
  bundle.setUrl(std::move(url));
}

/// A failure is not reported: the call is then sent without its parameters.
void addEncryptedParameters(HttpRequest& request, const RequestBundle& bundle, Text& swapKey) {
  Text parameters = bundle.parameters() ? parameterText(*bundle.parameters()) : "";
  const WipeAtEnd wiped(parameters);
  log("paramString : ", formatted(parameters));
  const Text enc = encryptParameters(parameters, &swapKey, nullptr);
  if (enc) request.url.append("?enc=").append(*enc);
}

void setUpload(HttpRequest& request, const RequestBundle& bundle) {
  const std::string boundary = platform::globallyUniqueString();
  request.headerFields.set("Content-Type", "multipart/form-data; boundary=" + boundary);
  Multipart multipart =
      makeMultipart(boundary, formatted(bundle.uploadFileKey()), *bundle.uploadFilePath());
  log("photo size : ", harmless(std::to_string(multipart.fileSize)));
  request.body = std::make_shared<const Data>(std::move(multipart.body));
}

void setPayload(HttpRequest& request, const RequestBundle& bundle) {
  const Text& payload = bundle.payload();
  log("POST payload : ", formatted(payload));
  request.headerFields.set("Content-Type", contentType(bundle.requestType()));
  request.headerFields.set("Content-Length", std::to_string(payload ? payload->size() : 0));
  if (payload) request.body = std::make_shared<const Data>(*payload);
}

void setBody(HttpRequest& request, const RequestBundle& bundle) {
  if (request.method.empty()) return;
  if (!carriesBody(bundle.httpMethod())) {
    request.headerFields.set("Content-Type", contentType(bundle.requestType()));
  } else if (!bundle.uploadFilePath().value_or("").empty()) {
    setUpload(request, bundle);
  } else {
    setPayload(request, bundle);
  }
}

void logHeaderFields(const HttpRequest& request) {
  if (!platform::isLogOn()) return;
  const std::string_view open[] = {"Content-Type",         "Content-Length", "swap_key",
                                   VORNEL_OAUTH_CLIENT_ID, "Accept",         "Accept-Encoding"};
  std::vector<Log::Piece> line = {harmless("HTTPHeaderFields : {")};
  for (const auto& [name, value] : request.headerFields) {
    const bool isOpen = std::ranges::find(open, name) != std::end(open);
    line.insert(line.end(), {harmless(line.size() > 1 ? ", " : ""), harmless(name), harmless(": "),
                             Log::Piece{.text = value, .isHarmless = isOpen}});
  }
  line.push_back(harmless("}"));
  platform::writeLine(line);
}

} // namespace

std::optional<HttpRequest> assembleRequest(RequestBundle& bundle, std::optional<Error>* error) {
  if (bundle.url().value_or("").empty()) {
    log("requestBundle.url : ", formatted(bundle.url()));
    storeError(error, makeError(2));
    return std::nullopt;
  }
  // Only the type asked for is checked: a wrong type of the body is sent as "error".
  const std::string acceptType = contentType(bundle.responseType());
  if (acceptType == "error") {
    storeError(error, makeError(3));
    return std::nullopt;
  }
  HttpRequest request = requestWithoutTokens(bundle);
  Text swapKey;
  if (encryptsParameters(bundle.httpMethod())) addEncryptedParameters(request, bundle, swapKey);
  if (request.method.empty()) {
    storeError(error, makeError(1));
    return request;
  }
  addKeyAndTokens(request, swapKey, error);
  if (error != nullptr) addAcceptFields(request, acceptType);
  return request;
}

bool encryptsParameters(HttpMethod method) {
  return method == HttpMethod::GET || method == HttpMethod::DELETE;
}

HttpRequest requestWithoutTokens(RequestBundle& bundle) {
  writeBack(bundle);
  HttpRequest request{.url = *bundle.url(), .method = std::string(methodName(bundle.httpMethod()))};
  setBody(request, bundle);
  return request;
}

Text parameterText(const Parameters& parameters) {
  std::string text;
  bool first = true;
  for (const auto& [key, value] : parameters) {
    if (!std::exchange(first, false)) text += '&';
    text += key;
    if (value) text.append("=").append(*value);
  }
  return utf8Text(std::move(text));
}

void addAcceptFields(HttpRequest& request, std::string_view contentType) {
  request.headerFields.set("Accept", contentType);
  request.headerFields.set("Accept-Encoding", "utf-8");
  logHeaderFields(request);
}

void addKeyAndTokens(HttpRequest& request, const Text& swapKey, std::optional<Error>* error) {
  if (swapKey) request.headerFields.set("swap_key", swapKey);
  // All fields of one moment, so that no call mixes old and new tokens.
  const bool hasClientId = TokenRecordStore::withFields([&request](const auto& record) {
    request.headerFields.set(VORNEL_OAUTH_CLIENT_ID, record.clientId);
    request.headerFields.set(VORNEL_HEADER_ACCESS_TOKEN, record.accessToken);
    request.headerFields.set(VORNEL_HEADER_REFRESH_TOKEN, record.refreshToken);
    return record.clientId.has_value();
  });
  if (!hasClientId) storeError(error, makeError(5));
}

} // namespace quarnet
