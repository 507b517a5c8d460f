#include "quarnet/request/RequestSlot.h"

#include <mutex>

namespace quarnet {

using platform::HttpRequest;

namespace {

constinit std::mutex mutex;

std::shared_ptr<const HttpRequest>& slot() {
  static auto* const instance = new std::shared_ptr<const HttpRequest>;
  return *instance;
}

} // namespace

std::shared_ptr<const HttpRequest> RequestSlot::get() {
  const std::lock_guard lock(mutex);
  return slot();
}

void RequestSlot::put(HttpRequest request) {
  auto shared = std::make_shared<const HttpRequest>(std::move(request));
  const std::lock_guard lock(mutex);
  slot().swap(shared);
}

} // namespace quarnet
