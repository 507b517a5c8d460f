#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace quarnet::bench {

/// A TCP proxy on 127.0.0.1 that makes a server in this machine look far away. One thread.
///
/// What is modelled: every piece of data, and the end of a connection, arrives `oneWay` after it
/// was sent, in both directions and in order. A connection's set-up takes a round trip more: what
/// the client sends on it arrives no earlier than three times `oneWay` after its connect(), as over
/// a link where its first byte waits for the server's answer to the connect (RFC 9293,
/// section 3.5).
///
/// What is not: the client's connect() itself returns at once, since the kernel answers it, so a
/// client that waits for it and does something else than send sees no delay. There is no loss, no
/// limit of bandwidth and no slow start (RFC 5681): data of any size takes one way.
class DelayingProxy {
public:
  /// `target` is "127.0.0.1:PORT".
  DelayingProxy(const std::string& target, std::chrono::milliseconds oneWay);
  /// Ends all connections.
  ~DelayingProxy();
  DelayingProxy(const DelayingProxy&) = delete;
  DelayingProxy& operator=(const DelayingProxy&) = delete;

  /// Where it listens, "127.0.0.1:PORT".
  std::string address() const;

private:
  struct Impl;
  const std::unique_ptr<Impl> impl_;
};

} // namespace quarnet::bench
