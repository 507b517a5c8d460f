#pragma once

#include "sandbox/Crypto.h"
#include "sandbox/MultipartReader.h"
#include "sandbox/ReceivedRequest.h"

#include <optional>
#include <string_view>

namespace quarnet::sandbox {

/// Takes in a request's body piece by piece, so that its size in memory stays bounded, and fills in
/// the request's fields about it.
class BodyReader {
public:
  /// The request, with its head complete, outlives the reader.
  explicit BodyReader(ReceivedRequest& request);
  void feed(std::string_view bytes);
  void finish();

private:
  ReceivedRequest& request_;
  Sha256 sum_;
  std::optional<MultipartReader> multipart_;
};

} // namespace quarnet::sandbox
