#include "quarnet/platform/headless/ReceivedRequest.h"

#include "quarnet/platform/headless/OneTimeKey.h"

#include <memory>
#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace quarnet::platform {
namespace {

unsigned char* bytes(std::string& text) {
  return reinterpret_cast<unsigned char*>(text.data());
}
const unsigned char* bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

/// The bytes of hexadecimal digits; empty for anything else.
std::string fromHex(const std::string& digits) {
  std::string decoded(digits.size() / 2, '\0');
  std::size_t size = 0;
  const int isHex =
      OPENSSL_hexstr2buf_ex(bytes(decoded), decoded.size(), &size, digits.c_str(), '\0');
  decoded.resize(isHex == 1 ? size : 0);
  return decoded;
}

/// AES-256-CBC with PKCS#7 padding; empty when the text was encrypted with another key.
std::string decrypted(const std::string& encrypted, const OneTimeKey& key) {
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
      EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  std::string plain(encrypted.size() + EVP_MAX_BLOCK_LENGTH, '\0');
  int size = 0;
  int rest = 0;
  const bool isDecrypted = EVP_DecryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr,
                                              bytes(key.key), bytes(key.iv)) == 1 &&
                           EVP_DecryptUpdate(context.get(), bytes(plain), &size, bytes(encrypted),
                                             static_cast<int>(encrypted.size())) == 1 &&
                           EVP_DecryptFinal_ex(context.get(), bytes(plain) + size, &rest) == 1;
  plain.resize(isDecrypted ? static_cast<std::size_t>(size + rest) : 0);
  return plain;
}

std::string unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string byte =
        text[i] == '%' ? fromHex(std::string(text.substr(i + 1, 2))) : std::string();
    if (byte.empty()) {
      plain += text[i];
    } else {
      plain += byte;
      i += 2;
    }
  }
  return plain;
}

/// The pairs of a query; a key without "=" has no value. Keys travel unescaped.
Parameters parametersOf(std::string_view query) {
  Parameters parameters;
  while (!query.empty()) {
    const std::string_view pair = query.substr(0, query.find('&'));
    query.remove_prefix(std::min(pair.size() + 1, query.size()));
    const std::size_t equals = pair.find('=');
    parameters[std::string(pair.substr(0, equals))] =
        equals == std::string_view::npos ? Text() : unescaped(pair.substr(equals + 1));
  }
  return parameters;
}

Parameters plainParameters(const HttpRequest& request) {
  const std::size_t mark = request.url.find('?');
  if (mark == std::string::npos) return {};
  Parameters parameters = parametersOf(std::string_view(request.url).substr(mark + 1));
  const auto encrypted = parameters.find("enc");
  const auto swapKey = request.headerFields.get("swap_key");
  if (encrypted == parameters.end() || !swapKey) return parameters;
  return parametersOf(decrypted(fromHex(encrypted->second.value_or("")), oneTimeKey(*swapKey)));
}

} // namespace

ReceivedRequest::ReceivedRequest(const HttpRequest& request)
    : HttpRequest(request), parameters(plainParameters(request)) {}

bool ReceivedRequest::matches(std::string_view expectedMethod, std::string_view address) const {
  return (expectedMethod.empty() || expectedMethod == method) && url.starts_with(address);
}

} // namespace quarnet::platform
