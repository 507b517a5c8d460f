#include "quarnet/platform/curl/EasyHandle.h"

#include <algorithm>
#include <climits>
#include <new>

namespace quarnet::platform {
namespace {

// libcurl puts the head together in a buffer of 1 MiB, where a few lines of its own must fit in.
constexpr std::size_t kMaximumHead = 1'040'000;

// What is larger goes over HTTP/1.1: libcurl 7.88 cannot send a head of more than 64 KiB over
// HTTP/2, and waits for ever when the server answers before it has read a whole body.
constexpr std::size_t kSmallHead = 48 * 1024;
constexpr std::size_t kSmallBody = 64 * 1024;

// Over TLS the head must fit into the upload buffer: libcurl 7.88 can hang on the rest of it.
constexpr long kUploadBuffer = 64L * 1024;
constexpr long kLargeUploadBuffer = 2L * 1024 * 1024;

} // namespace

EasyHandle::EasyHandle(TrustStore& trust) : easy_(curl_easy_init(), curl_easy_cleanup) {
  if (!easy_) throw std::bad_alloc();
  CURL* easy = get();
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_.data());
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
  curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  // A request waits for the connection that is being made, to share it when HTTP/2 comes of it.
  curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
  // A time-out in the middle of a name look-up would else wait for the resolver all the same.
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  trust.applyTo(easy);
}

Text EasyHandle::prepare(const HttpRequest& request, const Hop& hop,
                         std::chrono::milliseconds timeout, bool mayUseHttp2) {
  errorText_[0] = '\0';
  headers_.assign(request, hop);
  const std::size_t headSize = hop.url.size() + headers_.size();
  if (headSize > kMaximumHead) {
    return "The address and the header fields hold " + std::to_string(headSize) +
           " bytes; no more than " + std::to_string(kMaximumHead) + " can be sent";
  }
  const Data* body = hop.withContent ? request.body.get() : nullptr;
  const bool isLarge = headSize > kSmallHead || (body != nullptr && body->size() > kSmallBody);
  // libcurl takes 0 for "no limit".
  const long limit = std::clamp<long>(timeout.count(), 1, INT_MAX);
  setMethod(hop, body);
  curl_easy_setopt(get(), CURLOPT_URL, hop.url.c_str());
  curl_easy_setopt(get(), CURLOPT_HTTPHEADER, headers_.get());
  curl_easy_setopt(get(), CURLOPT_TIMEOUT_MS, limit);
  curl_easy_setopt(get(), CURLOPT_HTTP_VERSION,
                   long{mayUseHttp2 && !isLarge ? CURL_HTTP_VERSION_2TLS : CURL_HTTP_VERSION_1_1});
  curl_easy_setopt(get(), CURLOPT_UPLOAD_BUFFERSIZE,
                   headSize > kSmallHead ? kLargeUploadBuffer : kUploadBuffer);
  return std::nullopt;
}

void EasyHandle::setMethod(const Hop& hop, const Data* body) {
  const char* customMethod = nullptr;
  if (hop.method == "GET") {
    curl_easy_setopt(get(), CURLOPT_HTTPGET, 1L);
  } else if (hop.method == "HEAD") {
    curl_easy_setopt(get(), CURLOPT_NOBODY, 1L);
  } else if (body != nullptr || hop.method == "POST" || hop.method == "PUT") {
    curl_easy_setopt(get(), CURLOPT_POST, 1L);
    // Never a null pointer: libcurl would read the body from the standard input.
    curl_easy_setopt(get(), CURLOPT_POSTFIELDS, body != nullptr ? body->data() : "");
    curl_easy_setopt(get(), CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(body != nullptr ? body->size() : 0));
    if (hop.method != "POST") customMethod = hop.method.c_str();
  } else {
    curl_easy_setopt(get(), CURLOPT_HTTPGET, 1L);
    customMethod = hop.method.c_str();
  }
  curl_easy_setopt(get(), CURLOPT_CUSTOMREQUEST, customMethod);
}

} // namespace quarnet::platform
