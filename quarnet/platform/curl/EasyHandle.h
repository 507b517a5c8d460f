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

/// A libcurl handle, as a rule a new one for each hop. Redirects are not followed here.
///
/// libcurl 7.88 uses memory that it freed when a handle is used again and the next answer is one of
/// HTTP/1 whose first field begins with a blank, and a failure leaves counts that influence the
/// next request. So a handle is used again only from one whole answer over HTTP/2 to the next,
/// whose fields cannot be like that. Making one is a tenth of an asynchronous call's work.
class EasyHandle {
public:
  /// What `share` holds outlives the single hop. `trust` and `share` must outlive the handle.
  EasyHandle(TrustStore& trust, CURLSH* share);

  /// Looks at the next hop of `request`, which must stay as it is until the transfer has ended.
  /// With `mayUseHttp2`, HTTP/2 is offered to the server where it is of use. Returns why the
  /// request cannot be sent, or absent. Throws std::bad_alloc.
  Text plan(const HttpRequest& request, const Hop& hop, bool mayUseHttp2);

  /// Whether the planned hop may use the handle again.
  bool isKept() const { return isKept_; }

  /// Replaces the libcurl handle by a new one.
  void renew();

  /// Sets the handle up for the planned hop.
  void prepare(const Hop& hop, std::chrono::milliseconds timeout);

  /// Called before anything is sent: whether the handle is new, or the connection one of HTTP/2.
  bool mayStart() const;

  /// Called after the whole answer to a hop.
  void finish(const Hop& hop);

  CURL* get() const { return easy_.get(); }

  /// Whether the hop's connection may become one of HTTP/2.
  bool offersHttp2() const { return offersHttp2_; }

  /// Whether the first write of the hop may fail after a part of it was written.
  bool writesInParts() const { return writesInParts_; }

  /// What libcurl said about the last failure; may be empty.
  const char* errorText() const { return errorText_.data(); }

private:
  void setMethod(const Hop& hop);

  TrustStore& trust_;
  CURLSH* const share_;
  Address address_;
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_;
  /// Where the last answer came from, if it was one over HTTP/2; else empty.
  std::string mayKeepFor_;
  bool isKept_ = false;
  const Data* body_ = nullptr;
  bool hasLargeHead_ = false;
  bool offersHttp2_ = false;
  bool writesInParts_ = false;
  HeaderList headers_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
};

} // namespace quarnet::platform
