#pragma once

#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <vector>

namespace quarnet::platform {

/// Takes one libcurl handle after the other through its transfer, on the calling thread, and keeps
/// their connections open for the next one.
///
/// The same as curl_easy_perform(), which asks the system three times more for each transfer: here
/// libcurl is told which socket is ready and need not look.
class Performer {
public:
  /// Throws std::bad_alloc.
  Performer();
  Performer(const Performer&) = delete;
  Performer& operator=(const Performer&) = delete;

  /// Blocks until the transfer has ended.
  CURLcode perform(CURL* easy);

private:
  using Clock = std::chrono::steady_clock;

  static int onSocket(CURL*, curl_socket_t socket, int what, void* performer, void*);
  static int onTimer(CURLM*, long milliseconds, void* performer);

  /// Whether the transfer goes on.
  bool act(curl_socket_t socket, int events);
  bool waitAndAct();
  int millisecondsLeft() const;

  std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi_;
  // What libcurl waits for. The sockets change under its calls.
  std::vector<pollfd> sockets_;
  std::optional<Clock::time_point> alarm_;
};

} // namespace quarnet::platform
