#pragma once

#include <map>
#include <string>
#include <tuple>

namespace quarnet::platform {

/// Which stream was the last one that a server took from an HTTP/2 connection that it ended (RFC
/// 9113, section 6.8): the later ones may be sent again. Of the loop's thread alone.
class Goaways {
public:
  /// Far address, far port and near port; they may come back with a later connection.
  using Connection = std::tuple<std::string, int, int>;

  void begin(const Connection& connection) { lastTaken_.erase(connection); }
  void end(const Connection& connection, unsigned lastTaken);
  bool refused(const Connection& connection, unsigned stream) const;

private:
  std::map<Connection, unsigned> lastTaken_;
};

} // namespace quarnet::platform
