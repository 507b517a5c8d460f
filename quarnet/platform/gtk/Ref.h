#pragma once

#include <glib-object.h>
#include <memory>
#include <string>

namespace quarnet::platform {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};

/// An owned reference to a GObject.
template <class T>
using Ref = std::unique_ptr<T, Unref>;

/// Takes over the first reference of a new object, floating or not.
template <class T>
Ref<T> adopt(T* object) {
  if (g_object_is_floating(object)) g_object_ref_sink(object);
  return Ref<T>(object);
}

/// A further reference.
template <class T>
Ref<T> retain(T* object) {
  return Ref<T>(static_cast<T*>(g_object_ref(object)));
}

struct Free {
  void operator()(void* memory) const { g_free(memory); }
};

/// A text that GLib allocated.
using Chars = std::unique_ptr<char, Free>;

struct FreeError {
  void operator()(GError* error) const { g_error_free(error); }
};
using ErrorRef = std::unique_ptr<GError, FreeError>;

/// What the toolkit can display of a text: valid UTF-8 without a NUL.
inline Chars validUtf8(const std::string& text) {
  return Chars(g_utf8_make_valid(text.c_str(), -1));
}

/// Runs `call` once, as soon as the main loop is idle enough for events, never now.
template <class Call>
void later(Call call) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        (*static_cast<Call*>(data))();
        return G_SOURCE_REMOVE;
      },
      new Call(std::move(call)), [](gpointer data) { delete static_cast<Call*>(data); });
}

} // namespace quarnet::platform
