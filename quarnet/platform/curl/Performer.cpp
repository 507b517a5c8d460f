#include "quarnet/platform/curl/Performer.h"

#include <algorithm>
#include <new>

namespace quarnet::platform {
namespace {

// As often as curl_easy_perform() has a look, whatever it waits for.
constexpr int kLongestSleepInMilliseconds = 1000;

int eventsOf(const pollfd& socket) {
  // Reading or writing, whatever is waited for, finds out what is wrong.
  const bool failed = (socket.revents & (POLLERR | POLLHUP)) != 0;
  const int happened = failed ? socket.events : socket.revents;
  int events = 0;
  if ((happened & POLLIN) != 0) events |= CURL_CSELECT_IN;
  if ((happened & POLLOUT) != 0) events |= CURL_CSELECT_OUT;
  return events != 0 ? events : CURL_CSELECT_ERR;
}

} // namespace

Performer::Performer() : multi_(curl_multi_init(), curl_multi_cleanup) {
  if (!multi_) throw std::bad_alloc();
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, onSocket);
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, onTimer);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
}

CURLcode Performer::perform(CURL* easy) {
  const CURLMcode added = curl_multi_add_handle(multi_.get(), easy);
  if (added != CURLM_OK)
    return added == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_FAILED_INIT;
  bool goesOn = act(CURL_SOCKET_TIMEOUT, 0);
  while (goesOn)
    goesOn = waitAndAct();
  int left = 0;
  const CURLMsg* message = curl_multi_info_read(multi_.get(), &left);
  const CURLcode code = message != nullptr ? message->data.result : CURLE_FAILED_INIT;
  curl_multi_remove_handle(multi_.get(), easy);
  return code;
}

bool Performer::waitAndAct() {
  const int ready = poll(sockets_.data(), sockets_.size(), millisecondsLeft());
  // The time is up or a signal came; libcurl then says anew when it wants to be called.
  if (ready <= 0) return act(CURL_SOCKET_TIMEOUT, 0);
  // One is enough: what else is ready is so in the next turn, too.
  const auto next = std::find_if(sockets_.begin(), sockets_.end(),
                                 [](const pollfd& socket) { return socket.revents != 0; });
  return act(next->fd, eventsOf(*next));
}

int Performer::millisecondsLeft() const {
  if (!alarm_) return kLongestSleepInMilliseconds;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*alarm_ - Clock::now()).count();
  return static_cast<int>(std::clamp<long>(left, 0, kLongestSleepInMilliseconds));
}

bool Performer::act(curl_socket_t socket, int events) {
  int running = 0;
  return curl_multi_socket_action(multi_.get(), socket, events, &running) == CURLM_OK &&
         running > 0;
}

int Performer::onSocket(CURL*, curl_socket_t socket, int what, void* performer, void*) {
  auto& sockets = static_cast<Performer*>(performer)->sockets_;
  std::erase_if(sockets, [socket](const pollfd& entry) { return entry.fd == socket; });
  if (what == CURL_POLL_REMOVE) return 0;
  short events = 0;
  if ((what & CURL_POLL_IN) != 0) events |= POLLIN;
  if ((what & CURL_POLL_OUT) != 0) events |= POLLOUT;
  try {
    sockets.push_back({.fd = socket, .events = events, .revents = 0});
    return 0;
  } catch (const std::bad_alloc&) {
    return -1; // ends the transfer
  }
}

int Performer::onTimer(CURLM*, long milliseconds, void* performer) {
  auto& alarm = static_cast<Performer*>(performer)->alarm_;
  alarm.reset();
  if (milliseconds >= 0) alarm = Clock::now() + std::chrono::milliseconds(milliseconds);
  return 0;
}

} // namespace quarnet::platform
