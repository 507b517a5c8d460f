#pragma once

#include "quarnet/platform/gtk/Covered.h"

#include <functional>
#include <string>
#include <webkit/webkit.h>

namespace quarnet::platform {

/// What a page says or asks with alert(), confirm() or prompt(), laid over that page alone: what is
/// above the page stays in reach, so that a page that never stops asking keeps nobody in.
class PageDialog {
public:
  /// `host` is the page's, empty when it has none; `over` holds the page. `answered` is called when
  /// a button was pressed, and may end the dialog.
  PageDialog(WebKitScriptDialog* dialog, const std::string& host, GtkOverlay* over,
             std::function<void()> answered);
  /// Takes the dialog off the screen; a question without an answer is refused.
  ~PageDialog();
  PageDialog(const PageDialog&) = delete;
  PageDialog& operator=(const PageDialog&) = delete;

private:
  GtkWidget* makeCard(const std::string& host);
  void addEntry(GtkBox* column);
  void addButtons(GtkBox* column);
  void answer(bool agreed);

  WebKitScriptDialog* dialog_;
  GtkOverlay* over_;
  std::function<void()> answered_;
  Covered page_;
  /// Covers the page.
  GtkWidget* cover_;
  /// Null where nothing is to be typed.
  GtkWidget* entry_ = nullptr;
  GtkWidget* agree_ = nullptr;
};

} // namespace quarnet::platform
