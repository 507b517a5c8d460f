#include "quarnet/platform/curl/Sockets.h"

#include <algorithm>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quarnet::platform {
namespace {

// Long enough for the request that has to be made before; servers wait longer for the first byte.
constexpr std::chrono::seconds kPatience{5};

bool isAnyOf(short events, curl_socket_t socket) {
  pollfd asked{socket, events, 0};
  return poll(&asked, 1, 0) != 0;
}

bool wasClosedByServer(curl_socket_t socket) {
  return isAnyOf(POLLRDHUP, socket);
}

// Before a request there is nothing to read but the server's end.
bool isOfUse(curl_socket_t socket) {
  return !isAnyOf(POLLIN, socket);
}

bool leadsTo(curl_socket_t socket, const curl_sockaddr& wanted) {
  sockaddr_storage peer{};
  socklen_t size = sizeof(peer);
  if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0) return false;
  if (peer.ss_family != wanted.family) return false;
  if (peer.ss_family == AF_INET) {
    const auto& a = reinterpret_cast<const sockaddr_in&>(peer);
    const auto& b = reinterpret_cast<const sockaddr_in&>(wanted.addr);
    return a.sin_port == b.sin_port && a.sin_addr.s_addr == b.sin_addr.s_addr;
  }
  const auto& a = reinterpret_cast<const sockaddr_in6&>(peer);
  const auto& b = reinterpret_cast<const sockaddr_in6&>(wanted.addr);
  return a.sin6_port == b.sin6_port && a.sin6_scope_id == b.sin6_scope_id &&
         IN6_ARE_ADDR_EQUAL(&a.sin6_addr, &b.sin6_addr);
}

} // namespace

Sockets::~Sockets() {
  for (const Kept& kept : kept_)
    ::close(kept.socket);
}

bool Sockets::has(std::string_view origin) const {
  return std::ranges::any_of(kept_, [origin](const Kept& kept) { return kept.origin == origin; }) ||
         std::ranges::any_of(open_, [origin](const auto& open) {
           return open.second == origin && !wasClosedByServer(open.first);
         });
}

void Sockets::keep(std::string_view origin, curl_socket_t socket) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  kept_.push_back({std::string(origin), socket, end});
}

void Sockets::closeUnused() {
  if (kept_.empty()) return;
  const auto now = std::chrono::steady_clock::now();
  std::erase_if(kept_, [now](const Kept& kept) {
    if (kept.end > now && isOfUse(kept.socket)) return false;
    ::close(kept.socket);
    return true;
  });
}

Sockets::Opened Sockets::open(std::string_view origin, const curl_sockaddr& address) {
  curl_socket_t opened = take(address);
  const bool isConnected = opened != CURL_SOCKET_BAD;
  if (!isConnected) opened = socket(address.family, address.socktype, address.protocol);
  if (opened != CURL_SOCKET_BAD) open_[opened] = origin;
  return {opened, isConnected};
}

int Sockets::close(void* sockets, curl_socket_t socket) {
  static_cast<Sockets*>(sockets)->open_.erase(socket);
  return ::close(socket);
}

curl_socket_t Sockets::take(const curl_sockaddr& address) {
  closeUnused();
  const auto found = std::ranges::find_if(
      kept_, [&address](const Kept& kept) { return leadsTo(kept.socket, address); });
  if (found == kept_.end()) return CURL_SOCKET_BAD;
  const curl_socket_t socket = found->socket;
  kept_.erase(found);
  return socket;
}

} // namespace quarnet::platform
