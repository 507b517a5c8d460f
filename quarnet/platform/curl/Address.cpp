#include "quarnet/platform/curl/Address.h"

#include "quarnet/core/Types.h"
#include "quarnet/platform/curl/Origin.h"

#include <new>

namespace quarnet::platform {
namespace {

// Absent when the address has no such part.
Text partOf(CURLU* address, CURLUPart which, unsigned flags) {
  char* text = nullptr;
  curl_url_get(address, which, &text, flags);
  const std::unique_ptr<char, decltype(&curl_free)> owned(text, curl_free);
  return text != nullptr ? Text(text) : Text();
}

// "/path?query", escaped as libcurl would do it; empty without a query.
std::string pathWithQuery(CURLU* address) {
  const Text path = partOf(address, CURLUPART_PATH, CURLU_URLENCODE);
  const Text query = partOf(address, CURLUPART_QUERY, 0);
  return path && query ? *path + '?' + *query : "";
}

} // namespace

Address::Address() : parts_(curl_url(), curl_url_cleanup) {
  if (!parts_) throw std::bad_alloc();
}

void Address::applyTo(CURL* easy, const std::string& url) {
  if (url != url_) parse(url);
  const bool isSet =
      curl_easy_setopt(easy, CURLOPT_URL, url.c_str()) == CURLE_OK &&
      curl_easy_setopt(easy, CURLOPT_CURLU, isParsed_ ? parts_.get() : nullptr) == CURLE_OK &&
      curl_easy_setopt(easy, CURLOPT_REQUEST_TARGET, target_.empty() ? nullptr : target_.c_str()) ==
          CURLE_OK;
  if (!isSet) throw std::bad_alloc();
}

void Address::parse(const std::string& url) {
  url_.clear();
  // An address that cannot be parsed is left to libcurl, which says what is wrong with it, as is
  // one with an IPv6 zone, which would be lost on the way. Over http there may be a proxy, which
  // wants the whole address.
  isParsed_ = curl_url_set(parts_.get(), CURLUPART_URL, url.c_str(), 0) == CURLUE_OK &&
              !partOf(parts_.get(), CURLUPART_ZONEID, 0);
  target_ = isParsed_ && isEncrypted(url) ? pathWithQuery(parts_.get()) : "";
  url_ = url;
}

} // namespace quarnet::platform
