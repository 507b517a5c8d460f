#pragma once

#include "quarnet/platform/gtk/Ref.h"

#include <gtk/gtk.h>

namespace quarnet::platform {

/// Keeps a widget that something else lies over out of everybody's reach while it lives: of
/// pointer, keys and mnemonics, and of assistive technology.
class Covered {
public:
  /// `focus`, which may be null, gets the keyboard focus at the end. When it is not to be seen any
  /// more and nothing else has the focus, another widget of its window gets it.
  Covered(GtkWidget* widget, GtkWidget* focus);
  ~Covered();
  Covered(const Covered&) = delete;
  Covered& operator=(const Covered&) = delete;

  GtkWidget* widget() const { return widget_.get(); }

private:
  Ref<GtkWidget> widget_;
  GtkWidget* focus_ = nullptr;
};

} // namespace quarnet::platform
