#include "quarnet/platform/curl/SendQueue.h"

#include "quarnet/platform/curl/Origin.h"

#include <iterator>
#include <utility>

namespace quarnet::platform {

struct SendQueue::Origin {
  std::map<std::string, Origin, std::less<>>::iterator self;
  std::deque<Submission> waiting;
  std::size_t onWire = 0;

  bool isReady() const { return !waiting.empty() && onWire < kMaximumOnWirePerOrigin; }
};

SendQueue::SendQueue() = default;
SendQueue::~SendQueue() = default;

void SendQueue::push(Submission submission) {
  const std::string_view name = originIn(submission.request->url);
  auto found = origins_.find(name);
  if (found == origins_.end()) {
    found = origins_.try_emplace(std::string(name)).first;
    found->second.self = found;
  }
  Origin& origin = found->second;
  const bool wasReady = origin.isReady();
  origin.waiting.push_back(std::move(submission));
  if (!wasReady && origin.isReady()) ready_.push_back(&origin);
}

bool SendQueue::hasNext() const {
  return !ready_.empty() && onWire_ < kMaximumOnWire;
}

SendQueue::Next SendQueue::take() {
  Origin& origin = *ready_.front();
  ready_.pop_front();
  Next next{std::move(origin.waiting.front()), &origin};
  origin.waiting.pop_front();
  ++origin.onWire;
  ++onWire_;
  if (origin.isReady()) ready_.push_back(&origin);
  return next;
}

void SendQueue::landed(Origin* origin) {
  const bool wasReady = origin->isReady();
  --origin->onWire;
  --onWire_;
  if (!wasReady && origin->isReady()) ready_.push_back(origin);
  if (origin->waiting.empty() && origin->onWire == 0) origins_.erase(origin->self);
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
