#include "bench/calls/RawGet.h"

#include "bench/support/Setting.h"

#include <chrono>

namespace quarnet::bench {
namespace {

std::string nowInMilliseconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::string hex(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

} // namespace

RawGet::RawGet(const std::string& host)
    : keyUrl_("http://" + host + "/oauth/get_param_enc_key"),
      callUrl_("https://" + host + "/v1/places.json"), context_(EVP_CIPHER_CTX_new()),
      cipher_(EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr)) {}

RawGet::~RawGet() {
  EVP_CIPHER_free(cipher_);
  EVP_CIPHER_CTX_free(context_);
}

void RawGet::call() {
  prepareKeyRequest();
  curl_.perform();
  prepareCall();
  curl_.perform();
}

void RawGet::prepareKeyRequest() {
  swapKey_ = nowInMilliseconds();
  keyBody_ = "swap_key=" + swapKey_ + "&client_id=demo-client";
  curl_.setPost(keyUrl_, keyBody_, nullptr);
}

void RawGet::prepareCall() {
  const std::string key = memberOf(curl_.answer, "key");
  const std::string iv = memberOf(curl_.answer, "iv");
  swapKeyText_ = "swap_key: " + swapKey_;
  swapKeyField_ = {.data = swapKeyText_.data(), .next = curl_.callFields()};
  curl_.setGet(callUrl_ + "?enc=" + hex(encrypted(key, iv, query())), &swapKeyField_);
}

std::string RawGet::query() {
  std::string query;
  for (const auto& [name, value] : kGetParameters) {
    if (!query.empty()) query += '&';
    char* escaped = curl_easy_escape(curl_.get(), value, 0);
    query.append(name).append("=").append(escaped);
    curl_free(escaped);
  }
  return query;
}

std::string RawGet::encrypted(const std::string& key, const std::string& iv,
                              const std::string& plain) {
  std::string out(plain.size() + 16, '\0');
  auto* bytes = reinterpret_cast<unsigned char*>(out.data());
  int size = 0;
  int last = 0;
  EVP_EncryptInit_ex2(context_, cipher_, reinterpret_cast<const unsigned char*>(key.data()),
                      reinterpret_cast<const unsigned char*>(iv.data()), nullptr);
  EVP_EncryptUpdate(context_, bytes, &size, reinterpret_cast<const unsigned char*>(plain.data()),
                    static_cast<int>(plain.size()));
  EVP_EncryptFinal_ex(context_, bytes + size, &last);
  out.resize(static_cast<std::size_t>(size + last));
  return out;
}

} // namespace quarnet::bench
