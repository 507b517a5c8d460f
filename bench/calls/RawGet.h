#pragma once

#include "bench/support/RawCurl.h"

#include <array>
#include <openssl/evp.h>
#include <string>
#include <utility>

namespace quarnet::bench {

/// The parameters of every GET here.
inline constexpr std::array<std::pair<const char*, const char*>, 3> kGetParameters = {
    {{"count", "20"}, {"keyword", "도서관 열람실"}, {"order", "name,asc"}}};

/// The yardstick's GET with encrypted parameters: the key request, then the call itself.
class RawGet {
public:
  /// `host` answers both, "127.0.0.1:40123".
  explicit RawGet(const std::string& host);
  ~RawGet();
  RawGet(const RawGet&) = delete;
  RawGet& operator=(const RawGet&) = delete;

  void call();

  // The same in steps, for a curl_multi.

  RawCurl& curl() { return curl_; }
  void prepareKeyRequest();
  /// Takes the key out of the answer.
  void prepareCall();

private:
  std::string query();
  std::string encrypted(const std::string& key, const std::string& iv, const std::string& plain);

  RawCurl curl_;
  const std::string keyUrl_;
  const std::string callUrl_;
  std::string swapKey_;
  std::string keyBody_;
  std::string swapKeyText_;
  curl_slist swapKeyField_{};
  EVP_CIPHER_CTX* const context_;
  EVP_CIPHER* const cipher_;
};

} // namespace quarnet::bench
