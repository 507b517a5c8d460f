#include "FaultyLine.h"

#include "Loopback.h"

#include <algorithm>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quarnet::test {
namespace {

void end(int connection, bool isReset) {
  const linger abortive{1, 0};
  if (isReset) setsockopt(connection, SOL_SOCKET, SO_LINGER, &abortive, sizeof(abortive));
  close(connection);
}

} // namespace

FaultyLine::FaultyLine(std::uint16_t serverPort, std::function<Fault()> faults)
    : faults_(std::move(faults)), listener_(listenOnLoopback(port_)),
      acceptor_([this, serverPort] { accept(serverPort); }) {}

FaultyLine::~FaultyLine() {
  ending_ = true;
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  for (std::thread& line : lines_)
    line.join();
  close(listener_);
}

void FaultyLine::accept(std::uint16_t serverPort) {
  for (;;) {
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    lines_.emplace_back([this, client, server = connectToLoopback(serverPort), fault = faults_()] {
      carry(client, server, fault);
    });
  }
}

void FaultyLine::carry(int client, int server, Fault fault) {
  char piece[4096];
  std::size_t left = fault.after;
  pollfd ends[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
  while (!ending_ && left > 0) {
    poll(ends, 2, 50);
    bool isOver = false;
    for (const int from : {0, 1}) {
      if (ends[from].revents == 0) continue;
      const bool isCounted = (from == 0) == fault.towardsServer;
      const std::size_t most = isCounted ? std::min(left, sizeof(piece)) : sizeof(piece);
      const ssize_t size = recv(ends[from].fd, piece, most, 0);
      std::this_thread::sleep_for(fault.delay);
      isOver = size <= 0 ||
               send(ends[1 - from].fd, piece, static_cast<std::size_t>(size), MSG_NOSIGNAL) < 0;
      if (isOver) break;
      if (isCounted && left != SIZE_MAX) left -= static_cast<std::size_t>(size);
    }
    if (isOver) break;
  }
  end(client, fault.isReset);
  end(server, fault.isReset);
}

} // namespace quarnet::test
