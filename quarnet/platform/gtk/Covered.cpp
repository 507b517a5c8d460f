#include "quarnet/platform/gtk/Covered.h"

namespace quarnet::platform {
namespace {

void setInReach(GtkWidget* widget, gboolean inReach) {
  gtk_widget_set_sensitive(widget, inReach);
  // What is insensitive says so, but what it holds does not.
  gtk_accessible_update_state(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_STATE_HIDDEN, !inReach, -1);
}

} // namespace

Covered::Covered(GtkWidget* widget, GtkWidget* focus) : widget_(retain(widget)) {
  g_set_weak_pointer(&focus_, focus);
  setInReach(widget, FALSE);
}

Covered::~Covered() {
  setInReach(widget_.get(), TRUE);
  GtkRoot* const window = focus_ == nullptr ? nullptr : gtk_widget_get_root(focus_);
  if (window != nullptr) {
    if (gtk_widget_get_mapped(focus_)) gtk_widget_grab_focus(focus_);
    if (gtk_root_get_focus(window) == nullptr)
      gtk_widget_child_focus(GTK_WIDGET(window), GTK_DIR_TAB_FORWARD);
  }
  g_clear_weak_pointer(&focus_);
}

} // namespace quarnet::platform
