#include "quarnet/platform/curl/Redirect.h"

#include <array>
#include <curl/curl.h>
#include <memory>
#include <strings.h>

namespace quarnet::platform {
namespace {

using Part = std::unique_ptr<char, decltype(&curl_free)>;

// Scheme, host and port (RFC 6454); empty when the address has none.
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

bool sameOrigin(const std::string& a, const std::string& b) {
  const auto first = originOf(a);
  const auto second = originOf(b);
  return !first[1].empty() && first[0] == second[0] && first[2] == second[2] &&
         strcasecmp(first[1].c_str(), second[1].c_str()) == 0;
}

// As browsers do it: POST alone becomes GET on 301 and 302, on 303 everything but HEAD does.
bool becomesGet(const std::string& method, long status) {
  if (status == 303) return method != "GET" && method != "HEAD";
  return method == "POST" && (status == 301 || status == 302);
}

} // namespace

bool isRedirect(long status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

Hop redirected(const Hop& hop, long status, std::string url) {
  Hop next = hop;
  if (becomesGet(hop.method, status)) {
    next.method = "GET";
    next.withContent = false;
  }
  // Once dropped, the fields stay dropped, also when the way leads back.
  next.withOwnFields = hop.withOwnFields && sameOrigin(hop.url, url);
  next.url = std::move(url);
  return next;
}

Text addressProblem(const std::string& url) {
  if (url.empty()) return "The address is empty";
  if (url.find('\0') != std::string::npos) return "The address holds a zero byte";
  const char* text = url.c_str();
  if (strncasecmp(text, "http://", 7) != 0 && strncasecmp(text, "https://", 8) != 0) {
    return "The address is neither an http nor an https one";
  }
  return std::nullopt;
}

} // namespace quarnet::platform
