#pragma once

#include "quarnet/core/Error.h"

#include <string_view>

namespace quarnet {

/// Encrypts a query text under a one-time key that it fetches, blocking, as
/// APIRequest::encryptParamSwapKeyError() says. Throws std::bad_alloc.
Text encryptParameters(const Text& parameters, Text* swapKey, std::optional<Error>* error);

/// AES-256-CBC under a key and a vector of any length, as
/// APIRequest::AES256EncryptWithKeyIvectorData() says. Throws std::bad_alloc.
std::optional<Data> encryptUnder(const Text& key, const Text& iv, std::string_view plain);

} // namespace quarnet
