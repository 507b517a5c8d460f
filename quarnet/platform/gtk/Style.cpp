#include "quarnet/platform/gtk/Style.h"

namespace quarnet::platform {
namespace {

constexpr const char* kSheet = R"(
/* As low as its frame says; the theme's own is a little higher. */
headerbar.quarnet-title { min-height: 30px; }
headerbar.quarnet-title button.text-button {
  min-height: 22px; margin: 4px 0; padding: 3px 12px;
}
.quarnet-stage { background: rgba(0, 0, 0, 0.5); }
/* Dead ones; what lies above has others, to be seen on any colour. */
.quarnet-covered windowcontrols { opacity: 0; }
.quarnet-controls { min-height: 20px; }
.quarnet-controls button { min-height: 16px; min-width: 16px; margin: 2px; padding: 0; }
.quarnet-controls button image {
  padding: 0; color: white; background: rgba(0, 0, 0, 0.6);
}
)";

void load(GdkDisplay* display) {
  GtkCssProvider* sheet = gtk_css_provider_new();
  gtk_css_provider_load_from_data(sheet, kSheet, -1);
  gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(sheet),
                                             GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(sheet);
}

} // namespace

void addStyle(GtkWidget* widget, const char* cssClass) {
  static const bool loaded = (load(gtk_widget_get_display(widget)), true);
  static_cast<void>(loaded);
  gtk_widget_add_css_class(widget, cssClass);
}

} // namespace quarnet::platform
