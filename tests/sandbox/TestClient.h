#pragma once

#include "sandbox/Server.h"

#include <curl/curl.h>
#include <memory>
#include <string>
#include <vector>

namespace quarnet::sandbox {

/// What stands between `from` and the next `to`; empty when there is no `from`.
inline std::string between(const std::string& text, const std::string& from,
                           const std::string& to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) return {};
  const std::size_t start = at + from.size();
  return text.substr(start, text.find(to, start) - start);
}

struct Answer {
  CURLcode result = CURLE_OK;
  long status = 0;
  std::string body;
  std::string location; ///< of a redirect, made absolute

  /// A text of the JSON in the body.
  std::string member(const std::string& name) const {
    return between(body, "\"" + name + "\":\"", "\"");
  }
};

/// A client that trusts the sandbox, follows no redirect and keeps its connection between calls.
class TestClient {
public:
  explicit TestClient(const Server& server, const std::string& scheme = "https://")
      : origin_(scheme + server.host()) {}

  Answer get(const std::string& pathAndQuery, const std::vector<std::string>& headers = {}) {
    return perform(pathAndQuery, headers, nullptr);
  }
  Answer post(const std::string& path, const std::string& body,
              const std::vector<std::string>& headers = {}) {
    return perform(path, headers, &body);
  }

  long timeout = 5000; ///< milliseconds

private:
  Answer perform(const std::string& path, const std::vector<std::string>& headers,
                 const std::string* body) {
    Answer answer;
    curl_slist* list = nullptr;
    for (const std::string& header : headers)
      list = curl_slist_append(list, header.c_str());
    CURL* const curl = curl_.get();
    const auto append = +[](char* data, std::size_t, std::size_t size, std::string* text) {
      text->append(data, size);
      return size;
    };
    curl_easy_reset(curl);
    if (body != nullptr) {
      curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
      curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body->c_str());
    }
    curl_easy_setopt(curl, CURLOPT_URL, (origin_ + path).c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(curl, CURLOPT_CAINFO, Server::caFile().c_str());
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, timeout);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer.body);
    answer.result = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    const char* location = nullptr;
    curl_easy_getinfo(curl, CURLINFO_REDIRECT_URL, &location);
    if (location != nullptr) answer.location = location;
    curl_slist_free_all(list);
    return answer;
  }

  std::string origin_;
  std::unique_ptr<CURL, void (*)(CURL*)> curl_{curl_easy_init(), curl_easy_cleanup};
};

} // namespace quarnet::sandbox
