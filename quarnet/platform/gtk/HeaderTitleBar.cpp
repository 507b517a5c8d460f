#include "quarnet/platform/gtk/HeaderTitleBar.h"

#include <utility>

namespace quarnet::platform {
namespace {

/// Lets the bar be as low as its frame says; the theme's own is a little higher.
void useStyle(GtkWidget* bar) {
  GtkCssProvider* const provider = [] {
    GtkCssProvider* made = gtk_css_provider_new();
    gtk_css_provider_load_from_data(made,
                                    "headerbar.quarnet { min-height: 30px; }"
                                    "headerbar.quarnet button.text-button { min-height: 22px; "
                                    "margin: 4px 0; padding: 3px 12px; }",
                                    -1);
    return made;
  }();
  gtk_style_context_add_provider_for_display(gtk_widget_get_display(bar),
                                             GTK_STYLE_PROVIDER(provider),
                                             GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(provider);
}

} // namespace

HeaderTitleBar::HeaderTitleBar() : bar_(gtk_header_bar_new()) {
  static const bool styled = (useStyle(bar_), true);
  static_cast<void>(styled);
  gtk_header_bar_set_show_title_buttons(GTK_HEADER_BAR(bar_), FALSE);
  gtk_widget_add_css_class(bar_, "quarnet");
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
