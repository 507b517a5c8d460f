#include "Loopback.h"

#include <arpa/inet.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace quarnet::test {
namespace {

sockaddr_in addressOf(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

} // namespace

int listenOnLoopback(std::uint16_t& port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
  sockaddr_in address = addressOf(port);
  socklen_t size = sizeof(address);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(listener, 512) != 0) {
    throw std::runtime_error("The test server cannot listen");
  }
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  port = ntohs(address.sin_port);
  return listener;
}

int connectToLoopback(std::uint16_t port) {
  const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = addressOf(port);
  if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
    return connection;
  }
  close(connection);
  return -1;
}

std::uint16_t freeLoopbackPort() {
  std::uint16_t port = 0;
  close(listenOnLoopback(port));
  return port;
}

} // namespace quarnet::test
