#include "quarnet/platform/curl/Goaways.h"

namespace quarnet::platform {
namespace {

// More than can be open at a time.
constexpr std::size_t kMaximumKept = 1024;

} // namespace

void Goaways::end(const Connection& connection, unsigned lastTaken) {
  // What is forgotten here is no longer sent again.
  if (lastTaken_.size() >= kMaximumKept) lastTaken_.clear();
  lastTaken_[connection] = lastTaken;
}

bool Goaways::refused(const Connection& connection, unsigned stream) const {
  const auto found = lastTaken_.find(connection);
  return found != lastTaken_.end() && stream > found->second;
}

} // namespace quarnet::platform
