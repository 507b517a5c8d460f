#include "bench/support/RawCurl.h"

#include "bench/support/Failure.h"
#include "bench/support/Setting.h"

namespace quarnet::bench {

RawCurl::RawCurl() : easy_(curl_easy_init()) {
  const Setting& setting = Setting::current();
  curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy_, CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
  // The system's folder of roots, which is looked into when needed, is trusted by default.
  curl_easy_setopt(easy_, CURLOPT_CAINFO, setting.caFile.c_str());
  curl_easy_setopt(easy_, CURLOPT_TIMEOUT_MS, 60'000L);
  curl_easy_setopt(easy_, CURLOPT_PIPEWAIT, 1L);
  curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, receive);
  curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);

  const auto add = [this](const std::string& line) {
    fields_ = curl_slist_append(fields_, line.c_str());
  };
  add("Content-Type: application/json");
  add("client_id: demo-client");
  add("access_token: " + memberOf(setting.tokenAnswer, "access_token"));
  add("refresh_token: " + memberOf(setting.tokenAnswer, "refresh_token"));
  add("Accept: application/json");
  add("Accept-Encoding: utf-8");
  add("Expect:");
}

RawCurl::~RawCurl() {
  curl_slist_free_all(fields_);
  curl_easy_cleanup(easy_);
}

void RawCurl::setPost(const std::string& url, const std::string& body, curl_slist* fields) {
  curl_easy_setopt(easy_, CURLOPT_POST, 1L);
  curl_easy_setopt(easy_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, fields);
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
}

void RawCurl::setGet(const std::string& url, curl_slist* fields) {
  curl_easy_setopt(easy_, CURLOPT_HTTPGET, 1L);
  curl_easy_setopt(easy_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, fields);
}

void RawCurl::perform() {
  answer.clear();
  const CURLcode code = curl_easy_perform(easy_);
  check(code == CURLE_OK, curl_easy_strerror(code));
  long status = 0;
  curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
  check(status == 200, "the yardstick is answered 200");
}

std::size_t RawCurl::receive(char* data, std::size_t, std::size_t size, void* self) {
  auto& raw = *static_cast<RawCurl*>(self);
  if (raw.answer.empty()) {
    curl_off_t announced = -1;
    curl_easy_getinfo(raw.easy_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    if (announced > 0) raw.answer.reserve(static_cast<std::size_t>(announced));
  }
  raw.answer.append(data, size);
  return size;
}

} // namespace quarnet::bench
