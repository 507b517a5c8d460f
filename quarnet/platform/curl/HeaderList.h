#pragma once

#include "quarnet/platform/HttpRequest.h"
#include "quarnet/platform/curl/Redirect.h"

#include <curl/curl.h>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// The header fields of one request in the form that libcurl takes, which copies neither them nor
/// the request's own text: keep both unchanged until the transfer has ended.
class HeaderList {
public:
  /// Holds the fields of `request` that `hop` may carry, and keeps libcurl from adding any but
  /// Host and Content-Length. The fields were checked before.
  void assign(const HttpRequest& request, const Hop& hop);

  /// How many bytes the fields hold.
  std::size_t size() const { return size_; }

  curl_slist* get() { return nodes_.data(); }

private:
  void add(const HeaderFields::Field& field);
  void addLine(std::string_view line);
  void link();

  std::vector<curl_slist> nodes_;
  /// The lines that libcurl wants in another form than they have in the request.
  std::deque<std::string> ownLines_;
  std::size_t size_ = 0;
};

/// Why a request's method or header fields must not go on the wire; absent when they may.
Text headProblem(const HttpRequest& request);

} // namespace quarnet::platform
