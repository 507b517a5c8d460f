#include "LogPane.h"

#include <quarnet/platform/RedactingLog.h>
#include <quarnet/platform/glib/GlibMainThread.h>
#include <string>

namespace demo {
namespace {

constexpr int kMostLines = 1000;
constexpr std::size_t kLongestLine = 2000;

void append(GtkTextBuffer* lines, const std::string& line) {
  GtkTextIter end;
  gtk_text_buffer_get_end_iter(lines, &end);
  char* text = g_utf8_make_valid(line.c_str(), -1);
  gtk_text_buffer_insert(lines, &end, text, -1);
  gtk_text_buffer_insert(lines, &end, "\n", -1);
  g_free(text);

  const int tooMany = gtk_text_buffer_get_line_count(lines) - kMostLines;
  if (tooMany <= 0) return;
  GtkTextIter start;
  GtkTextIter kept;
  gtk_text_buffer_get_start_iter(lines, &start);
  gtk_text_buffer_get_iter_at_line(lines, &kept, tooMany);
  gtk_text_buffer_delete(lines, &start, &kept);
}

/// Passes lines from any thread on to a text buffer, which belongs to the main thread.
class BufferLog final : public quarnet::platform::Log {
public:
  explicit BufferLog(GtkTextBuffer* lines)
      : lines_(GTK_TEXT_BUFFER(g_object_ref(lines)), g_object_unref) {}

  void write(Line line) override {
    std::string shown = text(line);
    if (shown.size() > kLongestLine) shown.replace(kLongestLine, std::string::npos, " …");
    mainThread_.post([lines = lines_, shown] { append(lines.get(), shown); });
  }

private:
  std::shared_ptr<GtkTextBuffer> lines_;
  quarnet::platform::GlibMainThread mainThread_;
};

} // namespace

LogPane::LogPane() : lines_(gtk_text_buffer_new(nullptr)), scroller_(gtk_scrolled_window_new()) {
  GtkWidget* view = gtk_text_view_new_with_buffer(lines_);
  gtk_text_view_set_editable(GTK_TEXT_VIEW(view), FALSE);
  gtk_text_view_set_cursor_visible(GTK_TEXT_VIEW(view), FALSE);
  gtk_text_view_set_monospace(GTK_TEXT_VIEW(view), TRUE);
  gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(view), GTK_WRAP_WORD_CHAR);
  gtk_text_view_set_left_margin(GTK_TEXT_VIEW(view), 8);
  gtk_text_view_set_right_margin(GTK_TEXT_VIEW(view), 8);
  gtk_text_view_set_accepts_tab(GTK_TEXT_VIEW(view), FALSE);
  gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller_), view);
  gtk_widget_set_size_request(scroller_, -1, 180);

  // The newest line is the one to see.
  g_signal_connect(gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller_)), "changed",
                   G_CALLBACK(+[](GtkAdjustment* place, gpointer) {
                     gtk_adjustment_set_value(place, gtk_adjustment_get_upper(place) -
                                                         gtk_adjustment_get_page_size(place));
                   }),
                   nullptr);
}

LogPane::~LogPane() {
  g_object_unref(lines_);
}

std::shared_ptr<quarnet::platform::Log> LogPane::log() const {
  return std::make_shared<quarnet::platform::RedactingLog>(std::make_shared<BufferLog>(lines_));
}

} // namespace demo
