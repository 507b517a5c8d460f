#pragma once

#include <chrono>
#include <curl/curl.h>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// The sockets of a loop's connections, and those that were connected ahead of the request that
/// will use them. For the loop's thread alone; outlives the connections.
class Sockets {
public:
  Sockets() = default;
  /// Closes what was not taken.
  ~Sockets();
  Sockets(const Sockets&) = delete;
  Sockets& operator=(const Sockets&) = delete;

  /// Whether a connection to the origin is open, as far as is known, or one was made ahead.
  bool has(std::string_view origin) const;

  /// Keeps a connected socket for some seconds.
  void keep(std::string_view origin, curl_socket_t socket);
  /// Closes those that were kept long enough or that the server ended.
  void closeUnused();
  bool hasUnused() const { return !kept_.empty(); }

  struct Opened {
    /// CURL_SOCKET_BAD when none could be made.
    curl_socket_t socket;
    bool isConnected;
  };
  /// A socket for a new connection to the address: one that was kept and is still connected to it,
  /// or a new one. libcurl ends it with close().
  Opened open(std::string_view origin, const curl_sockaddr& address);
  static int close(void* sockets, curl_socket_t socket);

private:
  struct Kept {
    std::string origin;
    curl_socket_t socket;
    std::chrono::steady_clock::time_point end;
  };
  curl_socket_t take(const curl_sockaddr& address);

  /// The origins of the connections.
  std::map<curl_socket_t, std::string> open_;
  std::vector<Kept> kept_;
};

} // namespace quarnet::platform
