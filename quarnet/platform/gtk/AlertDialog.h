#pragma once

#include <functional>
#include <gtk/gtk.h>
#include <string>

namespace quarnet::platform {

/// Shows a modal message with one button over `window`, null for none, and gives its own window.
/// `pressed` runs once, however the message is closed. A long message scrolls; the button stays in
/// reach. Pressing it closes the other messages over that window, too: a page may bring any number.
GtkWindow* showAlertDialog(GtkWindow* window, const std::string& title, const std::string& message,
                           const std::string& button, std::function<void()> pressed);

} // namespace quarnet::platform
