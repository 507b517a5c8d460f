#include "quarnet/platform/curl/EasyHandle.h"

#include "quarnet/platform/curl/Origin.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>
#include <openssl/ssl.h>
#include <string_view>

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

bool isOverHttp2(CURL* easy) {
  const curl_tlssessioninfo* session = nullptr;
  curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session);
  if (session == nullptr || session->internals == nullptr) return false;
  const unsigned char* protocol = nullptr;
  unsigned size = 0;
  SSL_get0_alpn_selected(static_cast<const SSL*>(session->internals), &protocol, &size);
  return std::string_view(reinterpret_cast<const char*>(protocol), size) == "h2";
}

} // namespace

EasyHandle::EasyHandle(TrustStore& trust, CURLSH* share)
    : trust_(trust), share_(share), easy_(nullptr, curl_easy_cleanup) {}

Text EasyHandle::plan(const HttpRequest& request, const Hop& hop, bool mayUseHttp2) {
  headers_.assign(request, hop);
  const std::size_t headSize = hop.url.size() + headers_.size();
  if (headSize > kMaximumHead) {
    return "The address and the header fields hold " + std::to_string(headSize) +
           " bytes; no more than " + std::to_string(kMaximumHead) + " can be sent";
  }
  body_ = hop.withContent ? request.body.get() : nullptr;
  const std::size_t bodySize = body_ != nullptr ? body_->size() : 0;
  hasLargeHead_ = headSize > kSmallHead;
  offersHttp2_ = mayUseHttp2 && !hasLargeHead_ && bodySize <= kSmallBody && isEncrypted(hop.url);
  writesInParts_ = isEncrypted(hop.url) && headSize + bodySize > kOneRecord;
  isKept_ = offersHttp2_ && !mayKeepFor_.empty() && originIn(hop.url) == mayKeepFor_;
  mayKeepFor_.clear();
  return std::nullopt;
}

void EasyHandle::renew() {
  easy_.reset(); // first, so that the new one may have its memory
  easy_.reset(curl_easy_init());
  if (!easy_) throw std::bad_alloc();
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

void EasyHandle::prepare(const Hop& hop, std::chrono::milliseconds timeout) {
  // libcurl takes 0 for "no limit".
  const auto limit = static_cast<long>(std::clamp<std::int64_t>(timeout.count(), 1, INT_MAX));
  errorText_[0] = '\0';
  setMethod(hop);
  address_.applyTo(get(), hop.url);
  curl_easy_setopt(get(), CURLOPT_HTTPHEADER, headers_.get());
  curl_easy_setopt(get(), CURLOPT_TIMEOUT_MS, limit);
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
                   hasLargeHead_ ? kLargeUploadBuffer : kUploadBuffer);
}

bool EasyHandle::mayStart() const {
  return !isKept_ || isOverHttp2(get());
}

void EasyHandle::finish(const Hop& hop) {
  if (!offersHttp2_) return;
  long version = 0;
  curl_easy_getinfo(get(), CURLINFO_HTTP_VERSION, &version);
  if (version == CURL_HTTP_VERSION_2_0) mayKeepFor_ = originIn(hop.url);
}

void EasyHandle::setMethod(const Hop& hop) {
  const char* customMethod = nullptr;
  if (hop.method == "GET") {
    curl_easy_setopt(get(), CURLOPT_HTTPGET, 1L);
  } else if (hop.method == "HEAD") {
    curl_easy_setopt(get(), CURLOPT_NOBODY, 1L);
  } else if (body_ != nullptr || hop.method == "POST" || hop.method == "PUT") {
    curl_easy_setopt(get(), CURLOPT_POST, 1L);
    // Never a null pointer: libcurl would read the body from the standard input.
    curl_easy_setopt(get(), CURLOPT_POSTFIELDS, body_ != nullptr ? body_->data() : "");
    curl_easy_setopt(get(), CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(body_ != nullptr ? body_->size() : 0));
    if (hop.method != "POST") customMethod = hop.method.c_str();
  } else {
    curl_easy_setopt(get(), CURLOPT_HTTPGET, 1L);
    customMethod = hop.method.c_str();
  }
  curl_easy_setopt(get(), CURLOPT_CUSTOMREQUEST, customMethod);
}

} // namespace quarnet::platform
