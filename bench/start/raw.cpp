// The smallest program that makes the same call with libcurl alone.

#include <cstdio>
#include <cstdlib>
#include <curl/curl.h>
#include <string>

int main() {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  CURL* easy = curl_easy_init();
  const std::string url =
      std::string("https://") + std::getenv("QUARNET_BENCH_NGINX") + "/v1/people.json";
  std::string answer;
  curl_slist* fields = nullptr;
  for (const char* field : {"Content-Type: application/json", "client_id: demo-client",
                            "Accept: application/json", "Accept-Encoding: utf-8"}) {
    fields = curl_slist_append(fields, field);
  }
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_CAINFO, std::getenv("QUARNET_BENCH_CA"));
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, fields);
  curl_easy_setopt(easy, CURLOPT_POSTFIELDS, "{}");
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer);
  curl_easy_setopt(
      easy, CURLOPT_WRITEFUNCTION, +[](char* data, std::size_t, std::size_t size, void* to) {
        static_cast<std::string*>(to)->append(data, size);
        return size;
      });
  const CURLcode code = curl_easy_perform(easy);
  long status = 0;
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
  if (code != CURLE_OK || status != 200) return 1;
  std::puts(answer.c_str());
  curl_slist_free_all(fields);
  curl_easy_cleanup(easy);
  return 0;
}
