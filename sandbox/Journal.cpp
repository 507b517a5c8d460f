#include "sandbox/Journal.h"

namespace quarnet::sandbox {
namespace {

constexpr std::size_t kMostRequests = 20'000;
constexpr std::size_t kMostBytes = 256ul * 1024 * 1024;

std::size_t weightOf(const ReceivedRequest& request) {
  std::size_t weight = sizeof request + request.target.size() + request.body.size();
  for (const auto& [name, value] : request.headers)
    weight += name.size() + value.size();
  return weight;
}

} // namespace

void Journal::add(std::shared_ptr<const ReceivedRequest> request) {
  const std::lock_guard lock(mutex_);
  ++count_;
  bytes_ += weightOf(*request);
  requests_.push_back(std::move(request));
  while (requests_.size() > kMostRequests || bytes_ > kMostBytes) {
    bytes_ -= weightOf(*requests_.front());
    requests_.pop_front();
  }
}

std::vector<ReceivedRequest> Journal::all() const {
  const std::lock_guard lock(mutex_);
  std::vector<ReceivedRequest> copies;
  copies.reserve(requests_.size());
  for (const auto& request : requests_)
    copies.push_back(*request);
  return copies;
}

void Journal::clear() {
  const std::lock_guard lock(mutex_);
  requests_.clear();
  bytes_ = 0;
}

std::uint64_t Journal::count() const {
  const std::lock_guard lock(mutex_);
  return count_;
}

} // namespace quarnet::sandbox
