#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <cstddef>
#include <type_traits>

namespace quarnet {

/// What a callback receives: texts under VornelAsyncResultCode, VornelAsyncResultMessage and
/// VornelAsyncResultData. A key without a text is left out.
using ResultDictionary = Dictionary;

/// An operation of class T that can be registered as a callback.
template <class T>
using Method = void (T::*)(const ResultDictionary&);

/// One operation of some target's class: `&App::signedIn`, or null for "none".
///
/// Copying and destroying one runs no code of that class, which may be a plug-in's that is unloaded
/// when its target has been taken back.
class Operation {
public:
  /// None.
  constexpr Operation(std::nullptr_t = nullptr) noexcept {}

  /// Null is none.
  template <class T>
  Operation(Method<T> method) noexcept {
    if (method == nullptr) return;
    method_ = reinterpret_cast<Method<Any>>(method);
    call_ = [](Method<Any> stored, void* target, const ResultDictionary& result) {
      (static_cast<T*>(target)->*reinterpret_cast<Method<T>>(stored))(result);
    };
  }

  /// Whether there is one.
  explicit operator bool() const noexcept { return call_ != nullptr; }

  /// Calls the operation on `target`, which must point to an object of the operation's own class.
  void operator()(void* target, const ResultDictionary& result) const {
    call_(method_, target, result);
  }

private:
  /// Stands for the operation's own class.
  struct Any;

  Method<Any> method_ = nullptr;
  void (*call_)(Method<Any>, void*, const ResultDictionary&) = nullptr;
};

/// Which object is called when a call has ended, and how. The target is never owned.
///
/// Before a target dies, register null or another one in its place, on the main thread: then it is
/// not called any more, also not by a call that is under way or whose outcome waits already. That
/// outcome is dropped.
struct CallbackTriple {
  /// Null for nobody.
  void* target = nullptr;
  /// Called after a call that succeeded.
  Operation finished;
  /// Called after a call that did not.
  Operation failed;
};

/// A result dictionary of these texts; an absent one leaves its key out.
QUARNET_EXPORT ResultDictionary resultDictionary(Text code, Text message, Text data);

/// The triple of `target` and two of its operations, each of which may be null.
template <class T>
CallbackTriple makeCallback(T* target, std::type_identity_t<Method<T>> finished,
                            std::type_identity_t<Method<T>> failed) {
  return {target, Operation(finished), Operation(failed)};
}

} // namespace quarnet
