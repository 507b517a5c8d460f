#pragma once

#include "quarnet/core/Callback.h"

#include <mutex>

namespace quarnet {

/// The callback that an application has registered at the moment. Safe from any thread; a read
/// never sees half of a write.
///
/// Shared by the object that it is registered with and by the outcomes that wait for delivery.
class Registration {
public:
  /// A copy of the callback.
  CallbackTriple current() const {
    const std::lock_guard lock(mutex_);
    return triple_;
  }

  /// How often the target was changed. Its address alone does not tell: another object may have the
  /// address of a target that died.
  std::size_t targetChanges() const {
    const std::lock_guard lock(mutex_);
    return targetChanges_;
  }

  /// Replaces the callback.
  void set(const CallbackTriple& triple) {
    const std::lock_guard lock(mutex_);
    if (triple.target != triple_.target) ++targetChanges_;
    triple_ = triple;
  }

  /// Changes one part alone: `set(&CallbackTriple::target, nullptr)`.
  template <class Value>
  void set(Value CallbackTriple::*part, std::type_identity_t<Value> value) {
    const std::lock_guard lock(mutex_);
    const void* const target = triple_.target;
    triple_.*part = value;
    if (triple_.target != target) ++targetChanges_;
  }

private:
  mutable std::mutex mutex_;
  CallbackTriple triple_;
  std::size_t targetChanges_ = 0;
};

} // namespace quarnet
