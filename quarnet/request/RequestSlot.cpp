#include "quarnet/request/RequestSlot.h"

#include <mutex>

namespace quarnet {

using platform::HttpRequest;

namespace {

struct Slot {
  std::mutex mutex;
  std::shared_ptr<const HttpRequest> request;
};

Slot& slot() {
  static Slot* const instance = new Slot;
  return *instance;
}

} // namespace

std::shared_ptr<const HttpRequest> RequestSlot::get() {
  const std::lock_guard lock(slot().mutex);
  return slot().request;
}

void RequestSlot::put(HttpRequest request) {
  auto shared = std::make_shared<const HttpRequest>(std::move(request));
  const std::lock_guard lock(slot().mutex);
  slot().request.swap(shared);
}

} // namespace quarnet
