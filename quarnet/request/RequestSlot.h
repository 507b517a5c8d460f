#pragma once

#include "quarnet/platform/HttpRequest.h"

#include <memory>

namespace quarnet {

/// Where a prepared request waits until it is sent: one slot for the whole process, so that threads
/// which prepare at once can send each other's request. It is exchanged as a whole: a reader always
/// gets a complete request. Safe from any thread.
class RequestSlot {
public:
  /// Null before the first put().
  static std::shared_ptr<const platform::HttpRequest> get();
  /// Throws std::bad_alloc.
  static void put(platform::HttpRequest request);
};

} // namespace quarnet
