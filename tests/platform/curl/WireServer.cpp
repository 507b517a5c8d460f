#include "WireServer.h"

#include <arpa/inet.h>
#include <random>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace quarnet::test {
namespace {

/// A new socket that is bound or connected to that port.
int socketAt(std::uint16_t& port, decltype(connect)* join) {
  const int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t size = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (join(made, generic, size) != 0) {
    close(made);
    return -1;
  }
  if (port == 0 && getsockname(made, generic, &size) == 0) port = ntohs(address.sin_port);
  return made;
}

std::size_t bodySize(const std::string& head) {
  const auto field = head.find("\r\nContent-Length: ");
  return field == std::string::npos ? 0 : std::stoul(head.substr(field + 18));
}

} // namespace

WireServer::WireServer(Script script)
    : WireServer(
          [this, script = std::move(script)](int connection) { converse(connection, script); }) {}

WireServer::WireServer(Serve serve) : serve_(std::move(serve)), listener_(socketAt(port_, bind)) {
  if (listen(listener_, 512) != 0) throw std::runtime_error("The test server cannot listen");
  acceptor_ = std::thread([this] { accept(); });
}

WireServer::~WireServer() {
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  close(listener_);
  {
    const std::lock_guard lock(mutex_);
    for (const int connection : open_)
      shutdown(connection, SHUT_RDWR);
  }
  threads_.clear();
}

std::string WireServer::url(const std::string& path, const std::string& scheme) const {
  return scheme + "://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<std::string> WireServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void WireServer::accept() {
  for (int made; (made = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
    ++accepted_;
    {
      const std::lock_guard lock(mutex_);
      open_.push_back(made);
    }
    threads_.emplace_back([this, made] {
      serve_(made);
      const std::lock_guard lock(mutex_);
      std::erase(open_, made);
      close(made);
    });
  }
}

void WireServer::converse(int connection, const Script& script) {
  std::string received, reply;
  char piece[16384];
  for (ssize_t size; (size = recv(connection, piece, sizeof(piece), 0)) > 0;) {
    if (reply == kSilence) continue;
    received.append(piece, static_cast<std::size_t>(size));
    const auto headEnd = received.find("\r\n\r\n");
    if (headEnd == std::string::npos) continue;
    if (received.size() < headEnd + 4 + bodySize(received.substr(0, headEnd))) continue;
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(received);
    }
    reply = script(std::exchange(received, {}));
    if (reply == kSilence) continue;
    if (reply.empty() || send(connection, reply.data(), reply.size(), MSG_NOSIGNAL) < 0) return;
    if (reply.find("Connection: close") != std::string::npos) return;
  }
}

std::string answer(const std::string& body, const std::string& fields, const std::string& status) {
  return "HTTP/1.1 " + status + "\r\n" + fields + "Content-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

int connectToLoopback(std::uint16_t port) {
  return socketAt(port, connect);
}

std::uint16_t freeLoopbackPort() {
  static std::atomic<unsigned> next = std::random_device()();
  for (;;) {
    const auto port = static_cast<std::uint16_t>(20'000 + next++ % 10'000);
    const int connection = connectToLoopback(port);
    if (connection < 0) return port;
    close(connection);
  }
}

} // namespace quarnet::test
