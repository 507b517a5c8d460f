#pragma once

#include "quarnet/platform/HttpRequest.h"
#include "quarnet/platform/curl/Redirect.h"

#include <curl/curl.h>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// The header fields of one request in the form that libcurl takes. libcurl does not copy them:
/// keep the list unchanged until the transfer has ended.
class HeaderList {
public:
  /// Holds the fields of `request` that `hop` may carry, and keeps libcurl from adding any but
  /// Host and Content-Length. The fields were checked before.
  void assign(const HttpRequest& request, const Hop& hop);

  /// How many bytes the fields have, line breaks included.
  std::size_t size() const { return lines_.size() + nodes_.size(); }

  curl_slist* get() { return nodes_.data(); }

private:
  void add(std::string_view name, std::string_view value);
  void suppress(std::string_view name);
  void link();

  /// Each line as a C string, one after the other.
  std::string lines_;
  std::vector<curl_slist> nodes_;
};

} // namespace quarnet::platform
