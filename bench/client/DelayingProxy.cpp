#include "bench/client/DelayingProxy.h"

#include "bench/support/Failure.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <deque>
#include <list>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace quarnet::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Time = Clock::time_point;

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int newSocket() {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  check(fd >= 0, "the proxy gets a socket");
  return fd;
}

void sendAtOnce(int fd) {
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

/// One direction of a connection: what was read waits here until it is due.
class Lane {
public:
  Lane(int from, int to) : from_(from), to_(to) {}

  /// Reads what is there, due at `due`.
  void read(Time due) {
    std::array<char, 16384> piece;
    const ssize_t count = recv(from_, piece.data(), piece.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    isRead_ = count <= 0;
    pieces_.push_back({due, {piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))}});
  }

  /// Writes what is due; an empty piece is the end.
  void write(Time now) {
    while (!pieces_.empty() && pieces_.front().due <= now) {
      std::string& data = pieces_.front().data;
      if (data.empty()) {
        shutdown(to_, SHUT_WR);
        isWritten_ = true;
      } else {
        const ssize_t count = send(to_, data.data(), data.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0 && errno == EAGAIN) return retryAt(now);
        data.erase(0, count < 0 ? data.size() : static_cast<std::size_t>(count));
        if (!data.empty()) return retryAt(now);
      }
      pieces_.pop_front();
    }
  }

  bool isRead() const { return isRead_; }
  bool isWritten() const { return isWritten_; }
  int from() const { return from_; }
  Time due() const { return pieces_.empty() ? Time::max() : pieces_.front().due; }

private:
  struct Piece {
    Time due;
    std::string data;
  };

  /// The receiver's buffer is full.
  void retryAt(Time now) { pieces_.front().due = now + std::chrono::milliseconds(1); }

  int from_;
  int to_;
  std::deque<Piece> pieces_;
  bool isRead_ = false;
  bool isWritten_ = false;
};

struct Link {
  Link(int clientSocket, int serverSocket, Time set)
      : client(clientSocket), server(serverSocket), setUp(set), up(client, server),
        down(server, client) {}
  ~Link() {
    close(client);
    close(server);
  }
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  const int client;
  const int server;
  /// When the client could have sent its first byte over the link.
  const Time setUp;
  Lane up;
  Lane down;
};

} // namespace

struct DelayingProxy::Impl {
  std::chrono::milliseconds oneWay{};
  sockaddr_in target{};
  int listener = newSocket();
  int wake = eventfd(0, EFD_CLOEXEC);
  std::list<Link> links;
  std::thread thread;

  void run() {
    for (;;) {
      std::vector<pollfd> waits = {{wake, POLLIN, 0}, {listener, POLLIN, 0}};
      for (const Link& link : links) {
        waits.push_back({link.up.isRead() ? -1 : link.client, POLLIN, 0});
        waits.push_back({link.down.isRead() ? -1 : link.server, POLLIN, 0});
      }
      sleep(waits);
      if (waits[0].revents != 0) return;
      move(waits);
      if (waits[1].revents != 0) accept();
    }
  }

  /// Until something arrives or becomes due.
  void sleep(std::vector<pollfd>& waits) const {
    Time due = Clock::now() + std::chrono::seconds(1);
    for (const Link& link : links)
      due = std::min({due, link.up.due(), link.down.due()});
    const auto left = std::max(due - Clock::now(), Clock::duration::zero());
    const timespec limit{.tv_sec = left / std::chrono::seconds(1),
                         .tv_nsec = (left % std::chrono::seconds(1)).count()};
    ppoll(waits.data(), waits.size(), &limit, nullptr);
  }

  void move(const std::vector<pollfd>& waits) {
    const Time now = Clock::now();
    std::size_t at = 2;
    for (auto link = links.begin(); link != links.end();) {
      if (waits[at++].revents != 0) link->up.read(std::max(now, link->setUp) + oneWay);
      if (waits[at++].revents != 0) link->down.read(now + oneWay);
      link->up.write(now);
      link->down.write(now);
      const bool isOver = link->up.isWritten() && link->down.isWritten();
      link = isOver ? links.erase(link) : std::next(link);
    }
  }

  void accept() {
    const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    const int server = newSocket();
    check(connect(server, reinterpret_cast<const sockaddr*>(&target), sizeof(target)) == 0,
          "the proxy reaches the server");
    sendAtOnce(client);
    sendAtOnce(server);
    links.emplace_back(client, server, Clock::now() + 2 * oneWay);
  }
};

DelayingProxy::DelayingProxy(const std::string& target, std::chrono::milliseconds oneWay)
    : impl_(new Impl) {
  impl_->oneWay = oneWay;
  impl_->target = loopback(std::atoi(target.substr(target.find(':') + 1).c_str()));
  const sockaddr_in any = loopback(0);
  check(bind(impl_->listener, reinterpret_cast<const sockaddr*>(&any), sizeof(any)) == 0 &&
            listen(impl_->listener, SOMAXCONN) == 0,
        "the proxy can listen");
  impl_->thread = std::thread([this] { impl_->run(); });
}

DelayingProxy::~DelayingProxy() {
  eventfd_write(impl_->wake, 1);
  impl_->thread.join();
  close(impl_->listener);
  close(impl_->wake);
}

std::string DelayingProxy::address() const {
  sockaddr_in address{};
  socklen_t size = sizeof(address);
  getsockname(impl_->listener, reinterpret_cast<sockaddr*>(&address), &size);
  return "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

} // namespace quarnet::bench
