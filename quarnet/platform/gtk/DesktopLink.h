#pragma once

#include <gtk/gtk.h>
#include <string>
#include <string_view>

namespace quarnet::platform {

/// The scheme of an address in small letters (RFC 3986, section 3.1), for ever; empty for none.
std::string_view schemeOf(const std::string& url);

/// Whether an address is one that a web view loads itself, as opposed to one for a program of the
/// desktop, such as "mailto:".
bool isForPage(const std::string& url);

/// Hands an address to the program that the desktop has for it. If there is none, one line goes to
/// the log and a message over `window`, null for none, tells it; one such message at a time.
void openOnDesktop(GtkWindow* window, const std::string& url);

} // namespace quarnet::platform
