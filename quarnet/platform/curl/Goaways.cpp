#include "quarnet/platform/curl/Goaways.h"

#include <utility>

namespace quarnet::platform {
namespace {

// More than can be open at a time.
constexpr std::size_t kMaximumKept = 1024;

} // namespace

void Goaways::open(const Connection& connection) {
  // Open ones are forgotten, too; their requests are then not sent again.
  if (connections_.size() >= kMaximumKept) connections_.clear();
  connections_[connection] = {};
}

unsigned Goaways::begin(const Connection& connection) {
  const auto found = connections_.find(connection);
  if (found == connections_.end()) return 0;
  return std::exchange(found->second.nextStream, found->second.nextStream + 2);
}

void Goaways::lose(const Connection& connection) {
  const auto found = connections_.find(connection);
  // What begins on a connection that was ended never becomes a stream.
  if (found != connections_.end() && found->second.lastTaken == UINT_MAX) {
    connections_.erase(found);
  }
}

void Goaways::end(const Connection& connection, unsigned lastTaken) {
  const auto found = connections_.find(connection);
  if (found != connections_.end()) found->second.lastTaken = lastTaken;
}

bool Goaways::refused(const Connection& connection, unsigned stream) const {
  const auto found = connections_.find(connection);
  return found != connections_.end() && stream > found->second.lastTaken;
}

} // namespace quarnet::platform
