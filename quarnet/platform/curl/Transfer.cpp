#include "quarnet/platform/curl/Transfer.h"

#include "quarnet/platform/curl/HttpError.h"

#include <algorithm>
#include <new>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr int kMaximumRedirects = 20;

} // namespace

Transfer::Transfer(TrustStore& trust, std::size_t maximumBodySize, Kind kind)
    : trust_(trust), maximumBodySize_(maximumBodySize), kind_(kind), handle_(trust) {
  curl_easy_setopt(easy(), CURLOPT_HEADERFUNCTION, onHeader);
  curl_easy_setopt(easy(), CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy(), CURLOPT_WRITEFUNCTION, onBody);
  curl_easy_setopt(easy(), CURLOPT_WRITEDATA, this);
}

bool Transfer::begin(const HttpRequest& request) noexcept {
  try {
    request_ = &request;
    deadline_ = Clock::now() +
                std::min<std::chrono::milliseconds>(request.timeout, std::chrono::hours(24 * 24));
    redirects_ = 0;
    withoutHttp2_ = false;
    result_ = {};
    if (Text problem = headProblem(request)) {
      return fail(CURLE_BAD_FUNCTION_ARGUMENT, std::move(*problem));
    }
    hop_.url = request.url;
    hop_.method = request.method;
    hop_.withContent = true;
    hop_.withOwnFields = true;
    return prepareHop();
  } catch (const std::bad_alloc&) {
    return fail(CURLE_OUT_OF_MEMORY, "Not enough memory to send the request");
  }
}

bool Transfer::advance(CURLcode code) noexcept {
  try {
    if (wasTurnedAway(code)) {
      withoutHttp2_ = true;
      return prepareHop();
    }
    if (code != CURLE_OK) return fail(code, describe(code));
    // libcurl lets a head pass that was cut off.
    if (!result_.response) {
      return fail(CURLE_PARTIAL_FILE,
                  "The connection was closed in the middle of the answer's head");
    }
    const char* next = nullptr;
    if (isRedirect(result_.response->statusCode)) {
      // The Location field made absolute, since libcurl was told not to follow it itself.
      curl_easy_getinfo(easy(), CURLINFO_REDIRECT_URL, &next);
    }
    return next != nullptr && follow(next);
  } catch (const std::bad_alloc&) {
    return fail(CURLE_OUT_OF_MEMORY, "Not enough memory to send the request");
  }
}

HttpResult Transfer::takeResult() {
  // A length that was announced and not kept to must not hold on to memory.
  if (result_.body.size() < result_.body.capacity() / 2) result_.body.shrink_to_fit();
  return std::exchange(result_, {});
}

bool Transfer::follow(std::string url) {
  if (++redirects_ > kMaximumRedirects) {
    return fail(CURLE_TOO_MANY_REDIRECTS,
                "More than " + std::to_string(kMaximumRedirects) + " redirects");
  }
  hop_ = redirected(hop_, result_.response->statusCode, std::move(url));
  result_ = {};
  return prepareHop();
}

bool Transfer::prepareHop() {
  if (Text problem = addressProblem(hop_.url)) {
    return fail(CURLE_URL_MALFORMAT, std::move(*problem));
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
  if ((redirects_ > 0 || withoutHttp2_) && left.count() <= 0) {
    return fail(CURLE_OPERATION_TIMEDOUT, "The time was up before the request could be sent again");
  }
  refusal_ = CURLE_OK;
  const bool mayUseHttp2 = kind_ == Kind::multiplexed && !withoutHttp2_;
  if (Text problem = handle_.prepare(*request_, hop_, left, mayUseHttp2)) {
    return fail(CURLE_BAD_FUNCTION_ARGUMENT, std::move(*problem));
  }
  return true;
}

// A server ends an HTTP/2 connection after so many requests. libcurl 7.88 goes on trying to send
// over it and then gives up, which must not come out as an error: nothing was sent.
bool Transfer::wasTurnedAway(CURLcode code) const {
  if (code != CURLE_SEND_ERROR || kind_ != Kind::multiplexed || withoutHttp2_) return false;
  long newConnections = 0;
  curl_easy_getinfo(easy(), CURLINFO_NUM_CONNECTS, &newConnections);
  return newConnections == 0 && !result_.response;
}

bool Transfer::fail(CURLcode code, std::string description) {
  result_.error = httpError(code, std::move(description));
  return false;
}

std::string Transfer::describe(CURLcode code) const {
  if (refusal_ == CURLE_FILESIZE_EXCEEDED) {
    return "The answer is larger than " + std::to_string(maximumBodySize_) + " bytes";
  }
  if (refusal_ == CURLE_OUT_OF_MEMORY) return "Not enough memory for the answer";
  if (code == CURLE_SSL_CACERT_BADFILE && trust_.problem()) return *trust_.problem();
  const char* text = handle_.errorText();
  return *text != '\0' ? text : curl_easy_strerror(code);
}

std::size_t Transfer::onHeader(char* line, std::size_t, std::size_t size, void* transfer) {
  static_cast<Transfer*>(transfer)->receiveHeaderLine({line, size});
  return size;
}

std::size_t Transfer::onBody(char* data, std::size_t, std::size_t size, void* transfer) {
  return static_cast<Transfer*>(transfer)->receiveBody({data, size}) ? size : 0;
}

void Transfer::receiveHeaderLine(std::string_view line) {
  if (line != "\r\n" && line != "\n") return;
  // The head is whole; that of an interim answer (1xx) does not count.
  long status = 0;
  curl_easy_getinfo(easy(), CURLINFO_RESPONSE_CODE, &status);
  if (status >= 200) result_.response = HttpResponse{.statusCode = status};
}

bool Transfer::receiveBody(std::string_view piece) noexcept {
  Data& body = result_.body;
  curl_off_t announced = -1;
  if (body.empty()) curl_easy_getinfo(easy(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
  if (piece.size() > maximumBodySize_ - body.size() ||
      std::cmp_greater(announced, maximumBodySize_)) {
    refusal_ = CURLE_FILESIZE_EXCEEDED;
    return false;
  }
  try {
    // Once, since growing step by step needs the body's size twice over. An announced length is no
    // more than address space until the bytes arrive.
    if (announced > 0) body.reserve(static_cast<std::size_t>(announced));
    body += piece;
    return true;
  } catch (const std::bad_alloc&) {
    refusal_ = CURLE_OUT_OF_MEMORY;
    return false;
  }
}

} // namespace quarnet::platform
