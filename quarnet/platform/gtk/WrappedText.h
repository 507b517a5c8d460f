#pragma once

#include <gtk/gtk.h>
#include <string>

namespace quarnet::platform {

/// A new, floating label for a text that somebody else chose, on as many lines as it takes. It
/// shows the first 10,000 characters, and no character that the text does not have.
GtkWidget* wrappedText(const std::string& text);

/// The same in the middle of no more than `maxHeight` points, where it scrolls if it needs more.
GtkWidget* scrollingText(const std::string& text, int maxHeight);

} // namespace quarnet::platform
