#pragma once

#include <cstddef>
#include <memory>
#include <openssl/evp.h>
#include <optional>
#include <string>
#include <string_view>

namespace quarnet::sandbox {

/// Random letters and digits, from the system's random source.
std::string randomText(std::size_t length);

/// AES-256-CBC with PKCS#7 padding undone. The key and the IV are the bytes of the two texts, cut
/// or padded with zero bytes to 32 and 16. Absent when the input is not whole blocks or the padding
/// is wrong.
std::optional<std::string> aes256Decrypted(std::string_view keyText, std::string_view ivText,
                                           std::string_view ciphertext);

/// A SHA-256 sum taken piece by piece.
class Sha256 {
public:
  Sha256();
  void update(std::string_view bytes);
  /// The sum in lower-case hexadecimal; ends the calculation.
  std::string finish();

private:
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context_;
};

} // namespace quarnet::sandbox
