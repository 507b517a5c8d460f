#pragma once

#include "quarnet/platform/HttpRequest.h"
#include "quarnet/platform/curl/HeaderList.h"
#include "quarnet/platform/curl/Redirect.h"
#include "quarnet/platform/curl/TrustStore.h"

#include <array>
#include <chrono>
#include <curl/curl.h>
#include <memory>

namespace quarnet::platform {

/// A libcurl handle that is used for one request after the other. What never changes is set when it
/// is made; a request sets the rest. Redirects are not followed here.
class EasyHandle {
public:
  /// `trust` must outlive the handle.
  explicit EasyHandle(TrustStore& trust);

  /// Sets the handle up for one hop of `request`, which must stay as it is until the transfer has
  /// ended. HTTP/2 is offered to the server where it does good, if `mayUseHttp2`. Returns why
  /// the request cannot be sent, or absent. Throws std::bad_alloc.
  Text prepare(const HttpRequest& request, const Hop& hop, std::chrono::milliseconds timeout,
               bool mayUseHttp2);

  CURL* get() const { return easy_.get(); }

  /// Whether the hop's connection may become one of HTTP/2.
  bool offersHttp2() const { return rare_.offersHttp2; }

  /// What libcurl said about the last failure; may be empty.
  const char* errorText() const { return errorText_.data(); }

private:
  /// What changes seldom, as libcurl has it.
  struct Rare {
    long timeout = 0;
    long httpVersion = CURL_HTTP_VERSION_NONE;
    long tlsVersions = CURL_SSLVERSION_DEFAULT;
    long uploadBuffer = 0;
    bool offersHttp2 = false;
    bool customMethod = false;
  };

  void setAddress(const std::string& url);
  void setMethod(const Hop& hop, const Data* body);
  template <typename Value>
  void setRare(CURLoption option, Value value, Value& last);

  std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> address_;
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_;
  /// The address in force, as text.
  std::string url_;
  Rare rare_;
  HeaderList headers_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
};

} // namespace quarnet::platform
