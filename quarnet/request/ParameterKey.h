#pragma once

#include "quarnet/core/Error.h"
#include "quarnet/platform/HttpRequest.h"

#include <string_view>

namespace quarnet {

/// Encrypts a query text under a one-time key that it fetches, blocking, as
/// APIRequest::encryptParamSwapKeyError() says. Throws std::bad_alloc.
Text encryptParameters(const Text& parameters, Text* swapKey, std::optional<Error>* error);

// The same in two steps, for who does not block.

/// The request for a key, and the name under which the server will know it.
struct KeyRequest {
  std::string swapKey;
  platform::HttpRequest request;
};

/// No two of a process have the same name, however many are made in a millisecond. Throws
/// std::bad_alloc.
KeyRequest newKeyRequest(const std::string& clientId);

/// Encrypts under the key in the key endpoint's answer; absent when there is no whole key in it, of
/// 32 bytes with a vector of 16, and when the cipher fails. Throws std::bad_alloc.
Text encryptUnderAnswer(const Data& answer, std::string_view parameters);

/// AES-256-CBC under a key and a vector of any length, as
/// APIRequest::AES256EncryptWithKeyIvectorData() says. Throws std::bad_alloc.
std::optional<Data> encryptUnder(const Text& key, const Text& iv, std::string_view plain);

} // namespace quarnet
