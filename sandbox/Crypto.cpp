#include "sandbox/Crypto.h"

#include "sandbox/Text.h"

#include <algorithm>
#include <array>
#include <climits>
#include <openssl/rand.h>
#include <stdexcept>

namespace quarnet::sandbox {
namespace {

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

template <std::size_t size>
std::array<unsigned char, size> zeroPadded(std::string_view text) {
  std::array<unsigned char, size> buffer{};
  std::copy_n(text.begin(), std::min(size, text.size()), buffer.begin());
  return buffer;
}

} // namespace

std::string randomText(std::size_t length) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  std::string text;
  std::array<unsigned char, 64> random;
  while (text.size() < length) {
    if (RAND_bytes(random.data(), random.size()) != 1)
      throw std::runtime_error("the system gives no random bytes");
    for (const unsigned char byte : random) {
      // 248 is four times the alphabet's size: beyond it some letters would come more often.
      if (byte < 248 && text.size() < length) text += kAlphabet[byte % kAlphabet.size()];
    }
  }
  return text;
}

std::optional<std::string> aes256Decrypted(std::string_view keyText, std::string_view ivText,
                                           std::string_view ciphertext) {
  if (ciphertext.empty() || ciphertext.size() % 16 != 0 || ciphertext.size() > INT_MAX)
    return std::nullopt;
  const auto key = zeroPadded<32>(keyText);
  const auto iv = zeroPadded<16>(ivText);
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
      EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  std::string plain(ciphertext.size() + 16, '\0');
  auto* out = reinterpret_cast<unsigned char*>(plain.data());
  int written = 0;
  int last = 0;
  const bool opened =
      context &&
      EVP_DecryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key.data(), iv.data()) == 1 &&
      EVP_DecryptUpdate(context.get(), out, &written, bytesOf(ciphertext),
                        static_cast<int>(ciphertext.size())) == 1 &&
      EVP_DecryptFinal_ex(context.get(), out + written, &last) == 1;
  if (!opened) return std::nullopt;
  plain.resize(static_cast<std::size_t>(written) + static_cast<std::size_t>(last));
  return plain;
}

Sha256::Sha256() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
  if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("SHA-256 is not available");
}

void Sha256::update(std::string_view bytes) {
  EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size());
}

std::string Sha256::finish() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> sum;
  unsigned int length = 0;
  EVP_DigestFinal_ex(context_.get(), sum.data(), &length);
  return hexEncoded({reinterpret_cast<const char*>(sum.data()), length});
}

} // namespace quarnet::sandbox
