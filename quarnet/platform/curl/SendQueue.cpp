#include "quarnet/platform/curl/SendQueue.h"

#include "quarnet/platform/curl/Origin.h"

#include <iterator>
#include <optional>
#include <utility>

namespace quarnet::platform {

struct SendQueue::Origin {
  std::map<std::string, Origin, std::less<>>::iterator self;
  std::list<Submission> waiting;
  std::size_t onWire = 0;
  /// Its place among the ready ones.
  std::optional<std::list<Origin*>::iterator> turn;

  bool isReady() const { return !waiting.empty() && onWire < kMaximumOnWirePerOrigin; }
};

SendQueue::SendQueue() = default;
SendQueue::~SendQueue() = default;

SendQueue::Place SendQueue::push(Submission submission) {
  const std::string_view name = originIn(submission.request->url);
  auto found = origins_.find(name);
  if (found == origins_.end()) {
    found = origins_.try_emplace(std::string(name)).first;
    found->second.self = found;
  }
  Origin& origin = found->second;
  const auto entry = origin.waiting.insert(origin.waiting.end(), std::move(submission));
  update(origin);
  return {&origin, entry};
}

Submission SendQueue::remove(const Place& place) {
  Submission removed = std::move(*place.entry);
  place.origin->waiting.erase(place.entry);
  update(*place.origin);
  return removed;
}

bool SendQueue::holds(std::string_view origin) const {
  return origins_.contains(origin);
}

bool SendQueue::hasNext() const {
  return !ready_.empty() && onWire_ < kMaximumOnWire;
}

SendQueue::Next SendQueue::take() {
  Origin& origin = *ready_.front();
  Next next{std::move(origin.waiting.front()), &origin};
  origin.waiting.pop_front();
  ++origin.onWire;
  ++onWire_;
  ready_.splice(ready_.end(), ready_, ready_.begin());
  update(origin);
  return next;
}

void SendQueue::landed(Origin* origin) {
  --origin->onWire;
  --onWire_;
  update(*origin);
}

// Called after each change of an origin, which may end with it.
void SendQueue::update(Origin& origin) {
  if (origin.isReady() && !origin.turn) {
    origin.turn = ready_.insert(ready_.end(), &origin);
  } else if (!origin.isReady() && origin.turn) {
    ready_.erase(*origin.turn);
    origin.turn.reset();
  }
  if (origin.waiting.empty() && origin.onWire == 0) origins_.erase(origin.self);
}

std::vector<Submission> SendQueue::takeAll() {
  std::vector<Submission> all;
  for (auto& [name, origin] : origins_) {
    all.insert(all.end(), std::make_move_iterator(origin.waiting.begin()),
               std::make_move_iterator(origin.waiting.end()));
    origin.waiting.clear();
  }
  ready_.clear();
  return all;
}

} // namespace quarnet::platform
