#pragma once

#include <climits>
#include <map>
#include <string>
#include <tuple>

namespace quarnet::platform {

/// Which stream was the last one that a server took from an HTTP/2 connection that it ended (RFC
/// 9113, section 6.8): the later ones may be sent again. Of the loop's thread alone.
///
/// Streams are counted, since libcurl does not tell their numbers. Where the count is not sure,
/// nothing counts as refused.
class Goaways {
public:
  /// Far address, far port and near port; they may come back with a later connection.
  using Connection = std::tuple<std::string, int, int>;

  /// Notes that the connection is a new one.
  void open(const Connection& connection);
  /// Notes that one more request begins on the connection and returns its stream; 0: not known.
  unsigned begin(const Connection& connection);
  /// Takes note that a request that began may not have become a stream.
  void lose(const Connection& connection);
  void end(const Connection& connection, unsigned lastTaken);
  bool refused(const Connection& connection, unsigned stream) const;

private:
  struct State {
    unsigned nextStream = 1;
    unsigned lastTaken = UINT_MAX;
  };
  std::map<Connection, State> connections_;
};

} // namespace quarnet::platform
