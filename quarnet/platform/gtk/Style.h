#pragma once

#include <gtk/gtk.h>

namespace quarnet::platform {

/// Gives the widget this class of the toolkit's own style sheet.
void addStyle(GtkWidget* widget, const char* cssClass);

} // namespace quarnet::platform
