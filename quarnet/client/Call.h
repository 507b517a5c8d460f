#pragma once

#include "quarnet/core/RequestBundle.h"
#include "quarnet/core/Types.h"
#include "quarnet/platform/HttpRequest.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace quarnet {

/// Whether and how a call that failed is sent again, while its time lasts.
///
/// Sent again are GET, PUT and DELETE (RFC 9110, section 9.2.2) whose key could not be had, to
/// which no answer came, or one of 429, 502, 503 and 504. The pause before is chosen at random up
/// to a limit that doubles each time, and is no shorter than the server's Retry-After (RFC 9110,
/// section 10.2.3).
struct Retry {
  /// How often at most; 0 is never.
  unsigned attempts = 0;
  /// The limit of the first pause.
  std::chrono::milliseconds first{500};
  /// The largest limit.
  std::chrono::milliseconds longest{30'000};
};

/// How far a call has come: bytes of its body and of its answer's.
using Progress = platform::HttpProgress;

/// A file that is sent as multipart/form-data (RFC 7578).
struct Upload {
  /// A regular file that can be read; anything else is an invalid call.
  std::string path;
  /// The name of the form field.
  std::string key = "image";
};

/// One call of the API, described. It is moved or copied into the call: nothing of it needs to
/// outlive send().
struct Call {
  /// GET and DELETE have parameters; PUT and POST have a payload, a file or an empty body.
  HttpMethod method = HttpMethod::GET;
  /// The address without the ".json" or ".xml" suffix and without a query.
  std::string url = {};
  /// Sent encrypted; of GET and DELETE alone.
  Parameters parameters = {};
  /// The body, of PUT and POST alone.
  Data payload = {};
  /// In place of the payload, of PUT and POST alone.
  std::optional<Upload> upload = {};
  /// The format of the payload.
  ContentFormat requestType = ContentFormat::JSON;
  /// The format that is asked for: the Accept header field and the address's suffix.
  ContentFormat responseType = ContentFormat::JSON;
  /// From send() on, whatever the time is spent on.
  std::chrono::milliseconds timeout{60'000};
  /// Whether the answer is to come with its head.
  bool wantsHead = false;
  /// Off unless its attempts are set.
  Retry retry = {};
  /// Called now and then while bodies move, and at their end, where the outcome is received and
  /// always before it. Of reports that the callbacks' thread has not come to yet, the latest
  /// counts; wait() does not wait for it.
  std::function<void(const Progress&)> progress = {};
  /// Cancels the call when a stop is requested.
  std::stop_token stop = {};
};

/// What came back with a status from 200 to 299.
struct Answer {
  /// 200 to 299 (RFC 9110, section 15.3).
  long status = 0;
  /// Valid UTF-8; may be empty.
  Data body = {};
  /// For a call that wants it: the protocol and the status ("HTTP/1.1 200"), then the header fields
  /// in the order in which they came, each in a line that ends with "\n". It may hold any bytes.
  std::string head = {};
};

} // namespace quarnet
