#include "bench/small/Pairs.h"

#include "quarnet/request/APIRequest.h"

#include <memory>
#include <openssl/evp.h>
#include <string>

namespace quarnet::bench {
namespace {

const std::string kKey = "0123456789abcdef0123456789abcdef";
const std::string kVector = "fedcba9876543210";

/// EVP with a context and a fetched cipher that are used again, into memory that is not filled
/// before.
class RawCipher {
public:
  std::size_t encrypt(const std::string& plain) {
    const std::unique_ptr<unsigned char[]> out(new unsigned char[plain.size() + 16]);
    int size = 0;
    int last = 0;
    EVP_EncryptInit_ex2(context_, cipher_, reinterpret_cast<const unsigned char*>(kKey.data()),
                        reinterpret_cast<const unsigned char*>(kVector.data()), nullptr);
    EVP_EncryptUpdate(context_, out.get(), &size,
                      reinterpret_cast<const unsigned char*>(plain.data()),
                      static_cast<int>(plain.size()));
    EVP_EncryptFinal_ex(context_, out.get() + size, &last);
    benchmark::DoNotOptimize(out.get());
    return static_cast<std::size_t>(size + last);
  }

private:
  EVP_CIPHER_CTX* context_ = EVP_CIPHER_CTX_new();
  const EVP_CIPHER* cipher_ = EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
};

void addCipher(std::size_t size, const std::string& what, double mostTime) {
  const std::string plain(size, 'p');
  add({.what = what,
       .measure = "time, against EVP with a context that is used again",
       .bound = atMost(mostTime),
       .ours = repeat([plain, request = std::make_shared<APIRequest>()] {
         return request->AES256EncryptWithKeyIvectorData(kKey, kVector, plain);
       }),
       .yardstick = repeat([plain, raw = RawCipher()]() mutable { return raw.encrypt(plain); })});
}

std::string hexByTable(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text(bytes.size() * 2, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    text[2 * i] = kDigits[byte >> 4];
    text[2 * i + 1] = kDigits[byte & 15];
  }
  return text;
}

} // namespace

void addEncryption() {
  std::string bytes(1 << 20, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<char>(i * 2654435761u >> 13);
  add({.what = "hexEncode of 1 MB",
       .measure = "speed, against a table of digits",
       .bound = atLeast(4),
       .ours = repeat(
           [bytes, request = std::make_shared<APIRequest>()] { return request->hexEncode(bytes); }),
       .yardstick = repeat([bytes] { return hexByTable(bytes); })});
  addCipher(30, "encryption step, 30 bytes", 1.3);
  addCipher(16 << 20, "encryption step, 16 MB", 1.1);
}

} // namespace quarnet::bench
