#pragma once

#include "quarnet/core/Error.h"

#include <string_view>

namespace quarnet {

/// Encrypts a query text under a one-time key that it fetches from the key endpoint, blocking.
/// Gives the hexadecimal text for "?enc=", or absent with error 5 (no client identifier) or 7 (the
/// key did not arrive).
///
/// `swapKey`, which may be null, receives the name by which the server knows the key as soon as
/// there is one. Nothing of the key and its vector is left in memory. Throws std::bad_alloc.
Text encryptParameters(const Text& parameters, Text* swapKey, std::optional<Error>* error);

/// AES-256-CBC with PKCS#7 padding. Key and vector are the texts' bytes, cut to 32 and 16 bytes or
/// filled up with zero bytes; an absent text is all zero. Absent when the cipher fails. Throws
/// std::bad_alloc.
std::optional<Data> encryptUnder(const Text& key, const Text& iv, std::string_view plain);

} // namespace quarnet
