// The part of APIRequest that turns a bundle into the HTTP request in the process-wide slot.

#include "quarnet/core/Constants.h"
#include "quarnet/core/Global.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Wipe.h"
#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/platform/UniqueString.h"
#include "quarnet/request/APIRequest.h"
#include "quarnet/request/Multipart.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace quarnet {

using platform::harmless;
using platform::HttpRequest;
using platform::log;
using platform::Log;

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

/// Escapes all values or, when it throws, none.
void escapeValues(Parameters& parameters) {
  std::vector<std::string> escaped;
  escaped.reserve(parameters.size());
  for (const auto& [key, value] : parameters)
    escaped.push_back(value ? escapeString(*value) : std::string());
  auto next = escaped.begin();
  for (auto& [key, value] : parameters) {
    if (value) value->swap(*next);
    ++next;
  }
}

/// "KEY=VALUE" pairs as they stand: the values escaped by then, the keys as the caller gave them.
/// Absent when a key is not valid UTF-8.
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

void setUpload(HttpRequest& request, const RequestBundle& bundle) {
  const std::string boundary = platform::globallyUniqueString();
  request.headerFields.set("Content-Type", "multipart/form-data; boundary=" + boundary);
  Multipart multipart =
      makeMultipart(boundary, formatted(bundle.uploadFileKey()), *bundle.uploadFilePath());
  log("photo size : ", harmless(std::to_string(multipart.fileSize)));
  request.body = std::make_shared<const Data>(std::move(multipart.body));
}

void setPayload(HttpRequest& request, const RequestBundle& bundle, std::string_view contentType) {
  const Text& payload = bundle.payload();
  log("POST payload : ", formatted(payload));
  request.headerFields.set("Content-Type", contentType);
  request.headerFields.set("Content-Length", std::to_string(payload ? payload->size() : 0));
  if (payload) request.body = std::make_shared<const Data>(*payload);
}

/// `record` holds the token record's fields of one moment, so that no call mixes old and new
/// tokens.
void addKeyAndTokens(HttpRequest& request, const auto& record, const Text& swapKey,
                     std::optional<Error>* error) {
  if (swapKey) request.headerFields.set("swap_key", swapKey);
  if (!record.clientId) storeError(error, makeError(5));
  request.headerFields.set(VORNEL_OAUTH_CLIENT_ID, record.clientId);
  request.headerFields.set(VORNEL_HEADER_ACCESS_TOKEN, record.accessToken);
  request.headerFields.set(VORNEL_HEADER_REFRESH_TOKEN, record.refreshToken);
}

void logHeaderFields(const HttpRequest& request) {
  if (!platform::isLogOn()) return;
  const std::string_view open[] = {"Content-Type",         "Content-Length", "swap_key",
                                   VORNEL_OAUTH_CLIENT_ID, "Accept",         "Accept-Encoding"};
  std::vector<Log::Piece> line = {harmless("HTTPHeaderFields : {")};
  for (std::size_t i = 0; i < request.headerFields.size(); ++i) {
    const auto [name, value, whole] = request.headerFields[i];
    const bool isOpen = std::ranges::find(open, name) != std::end(open);
    line.insert(line.end(), {harmless(i > 0 ? ", " : ""), harmless(name), harmless(": "),
                             Log::Piece{.text = value, .isHarmless = isOpen}});
  }
  line.push_back(harmless("}"));
  platform::writeLine(line);
}

} // namespace

std::shared_ptr<const HttpRequest> APIRequest::urlRequest() {
  return slot().get();
}

void APIRequest::_requestError(RequestBundle& bundle, std::optional<Error>* error) {
  withinMemory([&] { prepare(bundle, error); }, [&] { storeError(error, notEnoughMemory()); });
}

void APIRequest::prepare(RequestBundle& bundle, std::optional<Error>* error) {
  if (bundle.url().value_or("").empty()) {
    log("requestBundle.url : ", formatted(bundle.url()));
    return storeError(error, makeError(2));
  }
  // Only the type asked for is checked: a wrong type of the body is sent as "error".
  const std::string contentType =
      Global::getContentType(static_cast<std::uint64_t>(bundle.requestType()));
  const std::string acceptType =
      Global::getContentType(static_cast<std::uint64_t>(bundle.responseType()));
  if (acceptType == "error") return storeError(error, makeError(3));

  std::string url = *bundle.url();
  url.append(suffix(bundle.responseType()));
  if (bundle.parameters_) escapeValues(*bundle.parameters_);
  bundle.setUrl(std::move(url));

  const HttpMethod method = bundle.httpMethod();
  HttpRequest request{.url = *bundle.url()};
  Text swapKey;
  if (encryptsParameters(method)) {
    Text parameters = bundle.parameters() ? parameterText(*bundle.parameters()) : "";
    const WipeAtEnd wiped(parameters);
    log("paramString : ", formatted(parameters));
    // A failure is not reported: the call then goes out without its parameters.
    std::optional<Error> dropped;
    if (const Text enc = encrypt(parameters, &swapKey, &dropped)) {
      request.url.append("?enc=").append(*enc);
    }
  }

  request.method = methodName(method);
  if (request.method.empty()) {
    slot().put(std::move(request));
    return storeError(error, makeError(1));
  }
  if (!carriesBody(method)) {
    request.headerFields.set("Content-Type", contentType);
  } else if (!bundle.uploadFilePath().value_or("").empty()) {
    setUpload(request, bundle);
  } else {
    setPayload(request, bundle, contentType);
  }

  addKeyAndTokens(request, OAuthInfo::sharedInstance().fields(), swapKey, error);
  if (error != nullptr) {
    request.headerFields.set("Accept", acceptType);
    request.headerFields.set("Accept-Encoding", "utf-8");
    logHeaderFields(request);
  }
  slot().put(std::move(request));
}

void APIRequest::setHeaderErr(const Text& swapKey, std::optional<Error>* error) {
  const auto add = [&] {
    const auto prepared = slot().get();
    HttpRequest request = prepared ? *prepared : HttpRequest{};
    addKeyAndTokens(request, OAuthInfo::sharedInstance().fields(), swapKey, error);
    slot().put(std::move(request));
  };
  withinMemory(add, [&] { storeError(error, notEnoughMemory()); });
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

} // namespace quarnet
