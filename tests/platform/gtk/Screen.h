#pragma once

#include "quarnet/platform/gtk/GtkToolkit.h"

#include <adwaita.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>
#include <webkit/webkit.h>

namespace quarnet::platform {

/// A window of 320 x 568 points on the screen, and a toolkit for it; the other base of a fixture.
class Screen {
protected:
  Screen();
  ~Screen();

  /// Runs the main loop until `done()` or for ten seconds; the last `done()`.
  static bool waitUntil(const std::function<bool()>& done);
  /// Runs the main loop until what was asked for is laid out and drawn.
  static void settle();

  /// The widgets in `widget`, itself included, of that type name, outermost first.
  static std::vector<GtkWidget*> widgets(GtkWidget* widget, const std::string& typeName);
  std::vector<GtkWidget*> boxes() { return shown("QuarnetFrameBox"); }
  std::vector<GtkWidget*> pages() { return shown("WebKitWebView"); }
  /// The notice in place of a page that did not load, to be seen or not.
  GtkWidget* failure() { return shown("AdwStatusPage").at(0); }
  /// The button with that label that is to be seen; null for none.
  GtkWidget* button(const std::string& label);
  /// What the labels in a widget say, one a line.
  static std::string texts(GtkWidget* widget);
  /// A page of tests/platform/gtk/pages.
  static std::string pageFile(const std::string& name);
  /// Runs a script in the page on top.
  void script(const std::string& text);
  /// Where the box of a view lies in the box that holds it, as the screen has it.
  static Rect allocation(GtkWidget* box);

  /// The message that is on the screen; null for none.
  static GtkWindow* alert();

  /// Real events, as a user's keyboard and mouse send them; at points of the window.
  void press(const std::string& keys);
  void click(int x, int y);
  /// How many colours there are in that part of the screen, "WIDTHxHEIGHT+X+Y".
  static int colours(const std::string& part);

  std::vector<GtkWidget*> shown(const std::string& typeName) {
    return widgets(GTK_WIDGET(window_), typeName);
  }

  GtkWindow* window_;
  GtkWidget* entry_;
  std::shared_ptr<GtkToolkit> toolkit_;
};

} // namespace quarnet::platform
