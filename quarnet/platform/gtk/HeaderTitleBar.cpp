#include "quarnet/platform/gtk/HeaderTitleBar.h"

#include "quarnet/platform/gtk/Style.h"

#include <utility>

namespace quarnet::platform {
HeaderTitleBar::HeaderTitleBar() : bar_(gtk_header_bar_new()) {
  gtk_header_bar_set_show_title_buttons(GTK_HEADER_BAR(bar_), FALSE);
  addStyle(bar_, "quarnet-title");
  gtk_widget_set_overflow(widget(), GTK_OVERFLOW_HIDDEN);
  gtk_widget_set_parent(bar_, widget());

  // Before the page sees the key: a page must not be able to keep the user in.
  GtkEventController* keys = gtk_shortcut_controller_new();
  gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
  gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(keys), GTK_SHORTCUT_SCOPE_GLOBAL);
  gtk_shortcut_controller_add_shortcut(
      GTK_SHORTCUT_CONTROLLER(keys),
      gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, GdkModifierType{}),
                       gtk_callback_action_new(
                           [](GtkWidget*, GVariant*, gpointer self) -> gboolean {
                             static_cast<HeaderTitleBar*>(self)->press();
                             return TRUE;
                           },
                           this, nullptr)));
  gtk_widget_add_controller(bar_, keys);
}

HeaderTitleBar::~HeaderTitleBar() {
  if (button_ != nullptr) g_signal_handlers_disconnect_by_data(button_, this);
  gtk_widget_unparent(bar_);
}

void HeaderTitleBar::setTitle(const std::string& title) {
  GtkWidget* label = gtk_label_new(validUtf8(title).get());
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
  gtk_widget_add_css_class(label, "title");
  gtk_header_bar_set_title_widget(GTK_HEADER_BAR(bar_), label);
}

void HeaderTitleBar::setRightButton(const std::string& label, std::function<void()> pressed) {
  pressed_ = std::move(pressed);
  if (button_ == nullptr) {
    button_ = gtk_button_new();
    g_signal_connect_swapped(button_, "clicked",
                             G_CALLBACK(+[](HeaderTitleBar* self) { self->press(); }), this);
    gtk_header_bar_pack_end(GTK_HEADER_BAR(bar_), button_);
  }
  gtk_button_set_label(GTK_BUTTON(button_), validUtf8(label).get());
}

void HeaderTitleBar::press() const {
  // A copy: what is pressed may take the bar away.
  if (const auto pressed = pressed_) pressed();
}

} // namespace quarnet::platform
