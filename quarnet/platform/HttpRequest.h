#pragma once

#include "quarnet/core/Data.h"
#include "quarnet/core/Export.h"

#include <chrono>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace quarnet::platform {

/// One HTTP request (RFC 9110), ready to be sent.
struct QUARNET_EXPORT HttpRequest {
  /// The whole address, query included. One that cannot be parsed fails when it is sent.
  std::string url = {};
  std::string method = "GET";
  /// Header fields in the order in which they were set.
  std::vector<std::pair<std::string, std::string>> headerFields = {};
  /// The body, shared and not copied on its way out; null for none.
  std::shared_ptr<const Data> body = nullptr;
  /// From the start of the transfer to its end.
  std::chrono::milliseconds timeout{60'000};

  /// Sets a field, in place of one of the same name in any case; an absent value removes it.
  void setHeaderField(std::string_view name, Text value);

  /// The value of the field of that name in any case, or null.
  const std::string* headerField(std::string_view name) const;
};

} // namespace quarnet::platform
