#include "quarnet/request/Cipher.h"

#include <memory>
#include <new>
#include <openssl/evp.h>

namespace quarnet {
namespace {

/// Fetching costs more than encrypting a short text, so it is done once for the process.
const EVP_CIPHER* cipher() {
  static const EVP_CIPHER* const fetched = [] {
    // Else OpenSSL would be taken down at exit under threads of the application that still encrypt.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    return EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
  }();
  return fetched;
}

} // namespace

std::optional<Data> encryptAes256Cbc(const CipherKey& key, const CipherVector& iv,
                                     std::string_view plain) {
  constexpr std::size_t kLargestStep = std::size_t{1} << 30; // EVP counts in int
  // Freeing it wipes what it made of the key.
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> owned(EVP_CIPHER_CTX_new(),
                                                                              EVP_CIPHER_CTX_free);
  EVP_CIPHER_CTX* const context = owned.get();
  if (context == nullptr) throw std::bad_alloc();
  const EVP_CIPHER* const algorithm = cipher();
  if (algorithm == nullptr ||
      EVP_EncryptInit_ex2(context, algorithm, key.data(), iv.data(), nullptr) != 1) {
    return std::nullopt;
  }
  Data encrypted(plain.size() + iv.size(), '\0');
  auto* out = reinterpret_cast<unsigned char*>(encrypted.data());
  std::size_t size = 0;
  int written = 0;
  while (!plain.empty()) {
    const std::string_view step = plain.substr(0, kLargestStep);
    if (EVP_EncryptUpdate(context, out + size, &written,
                          reinterpret_cast<const unsigned char*>(step.data()),
                          static_cast<int>(step.size())) != 1) {
      return std::nullopt;
    }
    size += static_cast<std::size_t>(written);
    plain.remove_prefix(step.size());
  }
  if (EVP_EncryptFinal_ex(context, out + size, &written) != 1) return std::nullopt;
  encrypted.resize(size + static_cast<std::size_t>(written));
  return encrypted;
}

} // namespace quarnet
