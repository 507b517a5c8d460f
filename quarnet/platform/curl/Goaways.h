#pragma once

#include <climits>
#include <map>
#include <string>
#include <tuple>

namespace quarnet::platform {

/// Which stream was the last one that a server took from an HTTP/2 connection that it ended (RFC
/// 9113, section 6.8): the later ones may be sent again. For the loop's thread alone.
///
/// Streams are counted, since libcurl does not tell their numbers. Where the count is not sure,
/// nothing counts as refused.
class Goaways {
public:
  /// Far address, far port and near port; a later connection may have the same.
  using Connection = std::tuple<std::string, int, int>;

  /// Notes that the connection is a new one.
  void open(const Connection& connection);
  /// Notes that one more request begins on the connection and returns its stream; 0: not known.
  unsigned begin(const Connection& connection);
  /// Notes that a request that began may not have become a stream.
  void lose(const Connection& connection);
  /// Notes that the server ended the connection and took no stream after `lastTaken`.
  void end(const Connection& connection, unsigned lastTaken);
  /// Whether the server said that it did not take the stream.
  bool refused(const Connection& connection, unsigned stream) const;

private:
  struct State {
    unsigned nextStream = 1;
    unsigned lastTaken = UINT_MAX;
  };
  std::map<Connection, State> connections_;
};

} // namespace quarnet::platform
