#pragma once

#include "quarnet/core/Types.h"

#include <array>
#include <string_view>

namespace quarnet {

using CipherKey = std::array<unsigned char, 32>;
using CipherVector = std::array<unsigned char, 16>;

/// AES-256-CBC with PKCS#7 padding; absent when the cipher fails. Keeps nothing of the key and the
/// vector. Throws std::bad_alloc.
std::optional<Data> encryptAes256Cbc(const CipherKey& key, const CipherVector& iv,
                                     std::string_view plain);

} // namespace quarnet
