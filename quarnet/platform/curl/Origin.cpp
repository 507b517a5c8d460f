#include "quarnet/platform/curl/Origin.h"

#include <array>
#include <curl/curl.h>
#include <memory>
#include <strings.h>

namespace quarnet::platform {
namespace {

using Part = std::unique_ptr<char, decltype(&curl_free)>;

// Scheme, host and port; empty when the address has none.
std::array<std::string, 3> originOf(const std::string& url) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), curl_url_cleanup);
  if (curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) return {};
  const auto part = [&](CURLUPart which) {
    char* text = nullptr;
    curl_url_get(parsed.get(), which, &text, CURLU_DEFAULT_PORT);
    const Part owned(text, curl_free);
    return std::string(text != nullptr ? text : "");
  };
  return {part(CURLUPART_SCHEME), part(CURLUPART_HOST), part(CURLUPART_PORT)};
}

} // namespace

std::string_view originIn(std::string_view url) {
  const std::size_t slashes = url.find("//");
  std::size_t end = slashes == std::string_view::npos ? 0 : slashes + 2;
  while (end < url.size() && url[end] != '/' && url[end] != '?' && url[end] != '#')
    ++end;
  return url.substr(0, end);
}

std::string plainAddressOf(const std::string& url) {
  const auto [scheme, host, port] = originOf(url);
  return host.empty() ? "" : "http://" + host + ":" + port;
}

bool sameOrigin(const std::string& a, const std::string& b) {
  const auto first = originOf(a);
  const auto second = originOf(b);
  return !first[1].empty() && first[0] == second[0] && first[2] == second[2] &&
         strcasecmp(first[1].c_str(), second[1].c_str()) == 0;
}

bool isEncrypted(const std::string& url) {
  return strncasecmp(url.c_str(), "https:", 6) == 0;
}

} // namespace quarnet::platform
