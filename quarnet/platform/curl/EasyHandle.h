#pragma once

#include "quarnet/platform/HttpRequest.h"
#include "quarnet/platform/curl/Address.h"
#include "quarnet/platform/curl/HeaderList.h"
#include "quarnet/platform/curl/Redirect.h"
#include "quarnet/platform/curl/TrustStore.h"

#include <array>
#include <chrono>
#include <curl/curl.h>
#include <memory>

namespace quarnet::platform {

/// A libcurl handle, a new one for each hop. Redirects are not followed here.
class EasyHandle {
public:
  /// What `share` holds outlives the single hop. `trust` and `share` must outlive the handle.
  EasyHandle(TrustStore& trust, CURLSH* share);

  /// Replaces the libcurl handle by a new one. libcurl keeps state of an answer or a failure as
  /// long as the handle exists: 7.88 uses memory that it freed when the next answer's first field
  /// begins with a blank, and counts of failures influence the next request.
  void renew();

  /// Sets the new handle up for one hop of `request`, which must stay as it is until the transfer
  /// has ended. With `mayUseHttp2`, HTTP/2 is offered to the server where it is of use. Returns why
  /// the request cannot be sent, or absent. Throws std::bad_alloc.
  Text prepare(const HttpRequest& request, const Hop& hop, std::chrono::milliseconds timeout,
               bool mayUseHttp2);

  CURL* get() const { return easy_.get(); }

  /// Whether the hop's connection may become one of HTTP/2.
  bool offersHttp2() const { return offersHttp2_; }

  /// Whether the first write of the hop may fail after a part of it was written.
  bool writesInParts() const { return writesInParts_; }

  /// What libcurl said about the last failure; may be empty.
  const char* errorText() const { return errorText_.data(); }

private:
  void setMethod(const Hop& hop, const Data* body);

  TrustStore& trust_;
  CURLSH* const share_;
  Address address_;
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_;
  bool offersHttp2_ = false;
  bool writesInParts_ = false;
  HeaderList headers_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
};

} // namespace quarnet::platform
