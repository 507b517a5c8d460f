#pragma once

#include "quarnet/core/Export.h"

#include <functional>

namespace quarnet::platform {

/// Delivers calls to the application's main thread. Throws nothing, whatever a call does.
class QUARNET_EXPORT MainThread {
public:
  virtual ~MainThread() = default;

  /// Queues the call and returns at once, on the main thread, too. Calls posted by one thread run
  /// in the order of their posts. Safe from any thread.
  virtual void post(std::function<void()> call) = 0;
};

} // namespace quarnet::platform
