#pragma once

#include <chrono>
#include <gio/gio.h>
#include <memory>

namespace quarnet::platform {

template <auto release>
struct Release {
  void operator()(auto* owned) const { release(owned); }
};

/// An owned reference to a GObject.
template <class T>
using Owned = std::unique_ptr<T, Release<g_object_unref>>;

/// Runs asynchronous operations to their end on the thread that calls, one after the other, on a
/// main context of its own: nothing else of the program runs meanwhile. When the time is up, the
/// operation under way is cancelled, as is every one that is begun then. To be used and destroyed
/// on the thread that made it.
class Deadline {
public:
  explicit Deadline(std::chrono::milliseconds patience);
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

  bool isOver() const { return g_cancellable_is_cancelled(cancellable_.get()) != FALSE; }
  GCancellable* cancellable() const { return cancellable_.get(); }

  /// Calls start(cancellable, callback, data) and waits for the callback; gives its result.
  template <class Start>
  Owned<GAsyncResult> await(const Start& start) {
    Owned<GAsyncResult> result;
    start(cancellable(), keep, &result);
    while (!result)
      turn();
    return result;
  }

  /// Waits until the flag is set or the time is up.
  void waitFor(const bool& flag) {
    while (!flag && !isOver())
      turn();
  }

private:
  static void keep(GObject* source, GAsyncResult* result, gpointer place);
  static gboolean end(gpointer cancellable);
  void turn() { g_main_context_iteration(context_.get(), TRUE); }

  std::unique_ptr<GMainContext, Release<g_main_context_unref>> context_;
  Owned<GCancellable> cancellable_;
};

} // namespace quarnet::platform
