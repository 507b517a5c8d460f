#pragma once

#include "quarnet/core/Callback.h"

#include <mutex>

namespace quarnet {

/// Who is told how calls end, as an application has it registered just now. Safe from any thread; a
/// read never sees half of a write.
///
/// Held by the object that it is registered with and by the outcomes that are on their way.
class Registration {
public:
  CallbackTriple current() const {
    const std::lock_guard lock(mutex_);
    return triple_;
  }

  void set(const CallbackTriple& triple) {
    const std::lock_guard lock(mutex_);
    triple_ = triple;
  }

  /// Changes one part alone: `set(&CallbackTriple::target, nullptr)`.
  template <class Value>
  void set(Value CallbackTriple::*part, std::type_identity_t<Value> value) {
    const std::lock_guard lock(mutex_);
    triple_.*part = value;
  }

private:
  mutable std::mutex mutex_;
  CallbackTriple triple_;
};

} // namespace quarnet
