#include "quarnet/platform/curl/ConnectionOpener.h"

#include "quarnet/platform/curl/Origin.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr std::size_t kMaximumOpenings = 16;
constexpr long kPatienceInMilliseconds = 5'000;

// Which addresses the user's proxy is for is libcurl's knowledge.
bool mayUseProxy() {
  constexpr std::array kVariables = {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy",
                                     "ALL_PROXY"};
  return std::ranges::any_of(kVariables, [](const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0';
  });
}

} // namespace

void ConnectionOpener::open(const std::string& origin) {
  const bool isBeingOpened = std::ranges::any_of(
      openings_, [&origin](const Opening& opening) { return opening.origin == origin; });
  if (isBeingOpened || openings_.size() >= kMaximumOpenings) return;
  const std::string address = plainAddressOf(origin);
  sockets_.closeUnused();
  if (address.empty() || sockets_.has(origin) || mayUseProxy()) return;
  Opening opening{origin, {curl_easy_init(), curl_easy_cleanup}};
  CURL* const easy = opening.easy.get();
  if (easy == nullptr) return;
  // TCP alone, whatever the scheme.
  curl_easy_setopt(easy, CURLOPT_URL, address.c_str());
  curl_easy_setopt(easy, CURLOPT_CONNECT_ONLY, 1L);
  curl_easy_setopt(easy, CURLOPT_PROXY, "");
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, kPatienceInMilliseconds);
  if (curl_multi_add_handle(multi_, easy) == CURLM_OK) openings_.push_back(std::move(opening));
}

void ConnectionOpener::finish(CURL* easy, CURLcode code) {
  const auto found = std::ranges::find_if(
      openings_, [easy](const Opening& opening) { return opening.easy.get() == easy; });
  curl_socket_t socket = CURL_SOCKET_BAD;
  if (code == CURLE_OK) curl_easy_getinfo(easy, CURLINFO_ACTIVESOCKET, &socket);
  // libcurl closes its own with the handle.
  if (socket != CURL_SOCKET_BAD) socket = fcntl(socket, F_DUPFD_CLOEXEC, 0);
  if (socket != CURL_SOCKET_BAD) sockets_.keep(found->origin, socket);
  curl_multi_remove_handle(multi_, easy);
  openings_.erase(found);
}

} // namespace quarnet::platform
