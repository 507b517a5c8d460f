#include "tests/sandbox/TestClient.h"

namespace quarnet::sandbox {
namespace {

std::size_t append(char* data, std::size_t size, std::size_t count, void* text) {
  static_cast<std::string*>(text)->append(data, size * count);
  return size * count;
}

} // namespace

TestClient::TestClient(const Server& server) : host_(server.host()), curl_(curl_easy_init()) {}
TestClient::~TestClient() {
  curl_easy_cleanup(curl_);
}

Answer TestClient::get(const std::string& pathAndQuery, const std::vector<std::string>& headers) {
  curl_easy_reset(curl_);
  return perform(pathAndQuery, headers);
}

Answer TestClient::post(const std::string& path, const std::string& body,
                        const std::vector<std::string>& headers) {
  curl_easy_reset(curl_);
  curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, body.c_str());
  return perform(path, headers);
}

Answer TestClient::perform(const std::string& path, const std::vector<std::string>& headers) {
  Answer answer;
  curl_slist* list = nullptr;
  for (const std::string& header : headers)
    list = curl_slist_append(list, header.c_str());
  curl_easy_setopt(curl_, CURLOPT_URL, (scheme + host_ + path).c_str());
  curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, list);
  if (trusting) curl_easy_setopt(curl_, CURLOPT_CAINFO, Server::caFile().c_str());
  curl_easy_setopt(curl_, CURLOPT_TIMEOUT_MS, timeout);
  curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, append);
  curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &answer.body);
  answer.result = curl_easy_perform(curl_);
  curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &answer.status);
  const char* location = nullptr;
  curl_easy_getinfo(curl_, CURLINFO_REDIRECT_URL, &location);
  if (location != nullptr) answer.location = location;
  curl_slist_free_all(list);
  return answer;
}

} // namespace quarnet::sandbox
