#include "WireServer.h"

#include "Loopback.h"

#include <sys/socket.h>
#include <unistd.h>

namespace quarnet::test {
namespace {

std::size_t bodySize(const std::string& head) {
  const auto field = head.find("\r\nContent-Length: ");
  return field == std::string::npos ? 0 : std::stoul(head.substr(field + 18));
}

} // namespace

WireServer::WireServer(Script script, std::uint16_t port)
    : script_(std::move(script)), port_(port), listener_(listenOnLoopback(port_)),
      acceptor_([this] { accept(); }) {}

WireServer::~WireServer() {
  shutdown(listener_, SHUT_RDWR);
  {
    const std::lock_guard lock(mutex_);
    closing_ = true;
    for (const int connection : open_)
      shutdown(connection, SHUT_RDWR);
  }
  acceptor_.join();
  for (std::thread& thread : threads_)
    thread.join();
  close(listener_);
}

std::string WireServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<std::string> WireServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void WireServer::accept() {
  for (;;) {
    const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) return;
    ++accepted_;
    const std::lock_guard lock(mutex_);
    if (closing_) shutdown(connection, SHUT_RDWR);
    open_.push_back(connection);
    threads_.emplace_back([this, connection] { serve(connection); });
  }
}

void WireServer::serve(int connection) {
  std::string received;
  char piece[16384];
  bool silent = false;
  for (;;) {
    const ssize_t size = recv(connection, piece, sizeof(piece), 0);
    if (size <= 0) break;
    if (silent) continue;
    received.append(piece, static_cast<std::size_t>(size));
    const auto headEnd = received.find("\r\n\r\n");
    if (headEnd == std::string::npos) continue;
    if (received.size() < headEnd + 4 + bodySize(received.substr(0, headEnd))) continue;
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(received);
    }
    const std::string reply = script_(received);
    received.clear();
    silent = reply == kSilence;
    if (silent) continue;
    if (reply.empty()) break;
    if (send(connection, reply.data(), reply.size(), MSG_NOSIGNAL) < 0) break;
    if (reply.find("Connection: close") != std::string::npos) break;
  }
  const std::lock_guard lock(mutex_);
  std::erase(open_, connection);
  close(connection);
}

std::string answer(const std::string& body, const std::string& fields, const std::string& status) {
  return "HTTP/1.1 " + status + "\r\n" + fields + "Content-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

} // namespace quarnet::test
