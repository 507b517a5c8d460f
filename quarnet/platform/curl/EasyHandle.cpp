#include "quarnet/platform/curl/EasyHandle.h"

#include "quarnet/platform/curl/Origin.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>

namespace quarnet::platform {
namespace {

// libcurl puts the head together in a buffer of 1 MiB, where a few lines of its own must fit in.
constexpr std::size_t kMaximumHead = 1'040'000;

// What is larger is sent over HTTP/1.1: libcurl 7.88 cannot send a head of more than 64 KiB over
// HTTP/2, and waits without end when the server answers before it has read a whole body.
constexpr std::size_t kSmallHead = 48 * 1024;
constexpr std::size_t kSmallBody = 64 * 1024;

// Over TLS the head must fit into the upload buffer: libcurl 7.88 can hang on the rest of it.
constexpr long kUploadBuffer = 64L * 1024;
constexpr long kLargeUploadBuffer = 2L * 1024 * 1024;

// A failed write of OpenSSL may have sent its first records of 16 KiB each. What fits into one
// record is sent as a whole or is of no use to the server. The rest of the record is left for what
// libcurl adds, percent escapes of the address included.
constexpr std::size_t kOneRecord = 5 * 1024;

} // namespace

EasyHandle::EasyHandle(TrustStore& trust, CURLSH* share)
    : trust_(trust), share_(share), easy_(nullptr, curl_easy_cleanup) {}

void EasyHandle::renew() {
  easy_.reset(curl_easy_init());
  if (!easy_) throw std::bad_alloc();
  errorText_[0] = '\0';
  CURL* easy = get();
  curl_easy_setopt(easy, CURLOPT_SHARE, share_);
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_.data());
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  // A time-out in the middle of a name look-up would else wait for the resolver all the same.
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  trust_.applyTo(easy);
}

Text EasyHandle::prepare(const HttpRequest& request, const Hop& hop,
                         std::chrono::milliseconds timeout, bool mayUseHttp2) {
  headers_.assign(request, hop);
  const std::size_t headSize = hop.url.size() + headers_.size();
  if (headSize > kMaximumHead) {
    return "The address and the header fields hold " + std::to_string(headSize) +
           " bytes; no more than " + std::to_string(kMaximumHead) + " can be sent";
  }
  const Data* body = hop.withContent ? request.body.get() : nullptr;
  const std::size_t bodySize = body != nullptr ? body->size() : 0;
  const bool isLarge = headSize > kSmallHead || bodySize > kSmallBody;
  // libcurl takes 0 for "no limit".
  const auto limit = static_cast<long>(std::clamp<std::int64_t>(timeout.count(), 1, INT_MAX));
  setMethod(hop, body);
  address_.applyTo(get(), hop.url);
  curl_easy_setopt(get(), CURLOPT_HTTPHEADER, headers_.get());
  curl_easy_setopt(get(), CURLOPT_TIMEOUT_MS, limit);
  offersHttp2_ = mayUseHttp2 && !isLarge && isEncrypted(hop.url);
  writesInParts_ = isEncrypted(hop.url) && headSize + bodySize > kOneRecord;
  curl_easy_setopt(get(), CURLOPT_HTTP_VERSION,
                   offersHttp2_ ? CURL_HTTP_VERSION_2TLS : CURL_HTTP_VERSION_1_1);
  // Another value that means the same to the server, so that libcurl 7.88 keeps such connections
  // apart: else it would send a request that may share an HTTP/2 connection over one of HTTP/1.1
  // that is in use.
  const long unshared = offersHttp2_ ? 0 : CURL_SSLVERSION_MAX_TLSv1_3;
  curl_easy_setopt(get(), CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2 | unshared);
  // Waits for a connection that is being made, to share it if it becomes one of HTTP/2.
  curl_easy_setopt(get(), CURLOPT_PIPEWAIT, long{offersHttp2_});
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
  if (customMethod != nullptr) curl_easy_setopt(get(), CURLOPT_CUSTOMREQUEST, customMethod);
}

} // namespace quarnet::platform
