// A GET with encrypted parameters, one after the other: the key request and the call itself.

#include "bench/calls/Calls.h"
#include "bench/support/Failure.h"
#include "bench/support/Processor.h"
#include "bench/support/RawCurl.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/Setting.h"

#include "quarnet/quarnet.h"

#include <array>
#include <chrono>
#include <openssl/evp.h>

namespace quarnet::bench {
namespace {

constexpr int kCalls = 100;
constexpr int kRounds = 101;

const std::array<std::pair<const char*, const char*>, 3> kParameters = {
    {{"count", "20"}, {"keyword", "도서관 열람실"}, {"order", "name,asc"}}};

class RawGet {
public:
  RawGet() : context_(EVP_CIPHER_CTX_new()) {}
  ~RawGet() { EVP_CIPHER_CTX_free(context_); }

  void call() {
    const std::string swapKey = nowInMilliseconds();
    const std::string body = "swap_key=" + swapKey + "&client_id=demo-client";
    curl_.setPost(keyUrl_, body, keyFields_);
    curl_.perform();
    const std::string key = memberOf(curl_.answer, "key");
    const std::string iv = memberOf(curl_.answer, "iv");

    const std::string field = "swap_key: " + swapKey;
    curl_slist swapKeyField{.data = const_cast<char*>(field.c_str()), .next = curl_.callFields()};
    curl_.setGet(callUrl_ + "?enc=" + hex(encrypted(key, iv, query())), &swapKeyField);
    curl_.perform();
  }

private:
  static std::string nowInMilliseconds() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
  }

  std::string query() {
    std::string query;
    for (const auto& [name, value] : kParameters) {
      if (!query.empty()) query += '&';
      char* escaped = curl_easy_escape(curl_.get(), value, 0);
      query.append(name).append("=").append(escaped);
      curl_free(escaped);
    }
    return query;
  }

  std::string encrypted(const std::string& key, const std::string& iv, const std::string& plain) {
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

  static std::string hex(const std::string& bytes) {
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

  RawCurl curl_;
  const std::string keyUrl_ = "http://" + Setting::current().sandbox + "/oauth/get_param_enc_key";
  const std::string callUrl_ = "https://" + Setting::current().sandbox + "/v1/places.json";
  curl_slist* keyFields_ = nullptr;
  EVP_CIPHER_CTX* context_;
  const EVP_CIPHER* cipher_ = EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
};

void callOurs(APIRequest& request, const std::string& url) {
  Parameters parameters;
  for (const auto& [name, value] : kParameters)
    parameters.emplace(name, value);
  RequestBundle bundle;
  bundle.setUrl(url);
  bundle.setParameters(std::move(parameters));
  std::optional<Error> error;
  const auto answer = request.requestHTTPMethodError(bundle, HttpMethod::GET, &error);
  check(answer && !error, "our GET is answered 200");
}

} // namespace

void measureSynchronousGet() {
  const OnFirstProcessor pinned;
  const std::string url = "https://" + Setting::current().sandbox + "/v1/places";
  APIRequest request;
  RawGet raw;
  const Comparison result = compare(
      kRounds,
      [&] {
        for (int i = 0; i < kCalls; ++i)
          callOurs(request, url);
      },
      [&] {
        for (int i = 0; i < kCalls; ++i)
          raw.call();
      });
  constexpr std::string_view kWhat = "synchronous GET: key request and encrypted call";
  report(kWhat, "CPU per call", seconds(result.ours.cpu / kCalls),
         seconds(result.yardstick.cpu / kCalls), result.cpuRatio, atMost(1.05));
  report(kWhat, "calls per second", perSecond(kCalls / result.ours.wall),
         perSecond(kCalls / result.yardstick.wall), 1 / result.wallRatio, atLeast(0.97));
}

} // namespace quarnet::bench
