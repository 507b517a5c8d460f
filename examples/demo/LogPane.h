#pragma once

#include <gtk/gtk.h>
#include <memory>
#include <quarnet/quarnet.h>

namespace demo {

/// The library's log as a pane of the window.
class LogPane {
public:
  LogPane();
  ~LogPane();
  LogPane(const LogPane&) = delete;
  LogPane& operator=(const LogPane&) = delete;

  GtkWidget* widget() const { return scroller_; }

  /// Where the library is to write, from any thread and also after the pane is gone; the values of
  /// secrets are blanked.
  std::shared_ptr<quarnet::platform::Log> log() const;

private:
  GtkTextBuffer* lines_;
  GtkWidget* scroller_;
};

} // namespace demo
