#pragma once

namespace quarnet {

/// The thread's own T, made with its first use. Null once it is gone, which it is for what still
/// runs at the thread's end: in the main thread that is all that exit() calls.
template <class T>
T* ofThread() {
  static constinit thread_local bool gone = false;
  struct Holder {
    T object;
    ~Holder() { gone = true; }
  };
  if (gone) return nullptr;
  static thread_local Holder holder;
  return &holder.object;
}

} // namespace quarnet
