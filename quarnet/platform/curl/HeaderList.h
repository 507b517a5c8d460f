#pragma once

#include "quarnet/platform/curl/Redirect.h"

#include <curl/curl.h>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// The header fields of one request in the form that libcurl takes, which does not copy them: keep
/// the list unchanged until the transfer has ended. Its storage is reused from request to request.
class HeaderList {
public:
  /// Holds the fields of `request` that `hop` may carry, and keeps libcurl from adding any but
  /// Host and Content-Length. The fields were checked before.
  void assign(const HttpRequest& request, const Hop& hop);

  /// How many bytes the fields hold.
  std::size_t size() const { return lines_.size(); }

  /// Null when there are no fields.
  curl_slist* get() { return nodes_.empty() ? nullptr : nodes_.data(); }

private:
  void add(std::string_view name, std::string_view value);
  void suppress(std::string_view name);
  void link();

  std::string lines_;
  std::vector<std::size_t> starts_;
  std::vector<curl_slist> nodes_;
};

/// Why a request's method or header fields must not go on the wire; absent when they may.
Text headProblem(const HttpRequest& request);

} // namespace quarnet::platform
