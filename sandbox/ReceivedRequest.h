#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarnet::sandbox {

/// One part of a multipart/form-data body (RFC 7578), hashed as it came in and not kept.
struct Upload {
  std::string field;
  std::string fileName;
  std::uint64_t size = 0;
  std::string sha256; ///< lower-case hexadecimal
};

/// One request as it arrived, before anything was made of it.
struct ReceivedRequest {
  std::string method;
  std::string target; ///< path and query, exactly as sent
  bool secure = false;
  bool keepAlive = true;
  /// Header fields in the order received, names spelled as received.
  std::vector<std::pair<std::string, std::string>> headers;

  std::string body; ///< the bytes, of a body up to 1 MiB; a larger one is empty here
  std::uint64_t bodySize = 0;
  std::string bodySha256;      ///< lower-case hexadecimal; empty when there was no body
  std::vector<Upload> uploads; ///< the parts of a multipart body
  bool uploadComplete = false; ///< a multipart body that ended with its closing delimiter

  std::string_view path() const;
  /// What follows the first "?"; absent when there is none.
  std::optional<std::string_view> query() const;
  /// The value of the first header field of that name, in any case; absent when there is none.
  std::optional<std::string_view> header(std::string_view name) const;
};

} // namespace quarnet::sandbox
