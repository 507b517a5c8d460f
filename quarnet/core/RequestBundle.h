#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <cstdint>

namespace quarnet {

/// The HTTP method of a call. Any other value is representable and refused when the call is made.
enum class HttpMethod : std::uint64_t { PUT = 0, POST = 1, GET = 2, DELETE = 3 };

/// The format of a body. Any other value is representable.
enum class ContentFormat : std::uint64_t { XML = 0, JSON = 1 };

/// One API call, described.
///
/// Fill a fresh bundle for each call: sending writes back into it (the URL gets its suffix, the
/// parameters their escapes). Not safe to share between threads without a lock.
class QUARNET_EXPORT RequestBundle {
public:
  /// Extra header values, kept for the application; requests do not send them. Absent until set.
  const std::optional<Dictionary>& header() const { return header_; }
  void setHeader(std::optional<Dictionary> header) { header_ = std::move(header); }

  /// Stores the value as "appId" in header(), which is made if absent; an absent value removes it.
  void setAppId(const Text& appId);

  /// The address without the ".json" or ".xml" suffix and without a query.
  const Text& url() const { return url_; }
  void setUrl(Text url) { url_ = std::move(url); }

  /// What GET and DELETE send, encrypted; PUT and POST ignore it.
  const std::optional<Parameters>& parameters() const { return parameters_; }
  void setParameters(std::optional<Parameters> parameters) { parameters_ = std::move(parameters); }

  /// The body of PUT and POST, as UTF-8.
  const Text& payload() const { return payload_; }
  void setPayload(Text payload) { payload_ = std::move(payload); }

  /// A file for PUT and POST to send as multipart/form-data (RFC 7578) in place of the payload.
  const Text& uploadFilePath() const { return uploadFilePath_; }
  void setUploadFilePath(Text path) { uploadFilePath_ = std::move(path); }

  /// The form field that carries the file. Default "image".
  const Text& uploadFileKey() const { return uploadFileKey_; }
  void setUploadFileKey(Text key) { uploadFileKey_ = std::move(key); }

  /// The HTTP method. Default GET.
  HttpMethod httpMethod() const { return httpMethod_; }
  void setHttpMethod(HttpMethod method) { httpMethod_ = method; }

  /// The Content-Type of what is sent; not validated. Default JSON.
  ContentFormat requestType() const { return requestType_; }
  void setRequestType(ContentFormat format) { requestType_ = format; }

  /// The format that is asked for: the Accept header and the URL's suffix. Default JSON.
  ContentFormat responseType() const { return responseType_; }
  void setResponseType(ContentFormat format) { responseType_ = format; }

private:
  std::optional<Dictionary> header_;
  Text url_;
  std::optional<Parameters> parameters_;
  Text payload_;
  Text uploadFilePath_;
  Text uploadFileKey_ = "image";
  HttpMethod httpMethod_ = HttpMethod::GET;
  ContentFormat requestType_ = ContentFormat::JSON;
  ContentFormat responseType_ = ContentFormat::JSON;
};

} // namespace quarnet
