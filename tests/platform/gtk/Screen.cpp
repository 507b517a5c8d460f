#include "tests/platform/gtk/Screen.h"

#include "quarnet/platform/glib/GlibMainThread.h"

#include <chrono>

namespace quarnet::platform {
namespace {

void run(const std::string& command) {
  int status = -1;
  ASSERT_TRUE(g_spawn_command_line_sync(command.c_str(), nullptr, nullptr, &status, nullptr))
      << command << ": is it installed?";
  ASSERT_EQ(status, 0) << command;
}

} // namespace

Screen::Screen() {
  adw_init();
  window_ = GTK_WINDOW(gtk_window_new());
  gtk_window_set_decorated(window_, FALSE);
  gtk_window_set_default_size(window_, 320, 568);
  entry_ = gtk_entry_new();
  gtk_window_set_child(window_, entry_);
  gtk_widget_grab_focus(entry_);
  gtk_window_present(window_);
  EXPECT_TRUE(waitUntil([this] { return gtk_widget_get_width(GTK_WIDGET(window_)) == 320; }));
  toolkit_ = std::make_shared<GtkToolkit>(GtkToolkitOptions{.window = window_});
}

Screen::~Screen() {
  gtk_window_destroy(window_);
  settle();
}

bool Screen::waitUntil(const std::function<bool()>& done) {
  return GlibMainThread::runUntil(done, std::chrono::seconds(10));
}

void Screen::settle() {
  GlibMainThread::runUntil([] { return false; }, std::chrono::milliseconds(120));
}

std::vector<GtkWidget*> Screen::widgets(GtkWidget* widget, const std::string& typeName) {
  std::vector<GtkWidget*> found;
  if (typeName == G_OBJECT_TYPE_NAME(widget)) found.push_back(widget);
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    const auto inner = widgets(child, typeName);
    found.insert(found.end(), inner.begin(), inner.end());
  }
  return found;
}

void Screen::script(const std::string& text) {
  ASSERT_FALSE(pages().empty());
  webkit_web_view_evaluate_javascript(WEBKIT_WEB_VIEW(pages().back()), text.c_str(), -1, nullptr,
                                      nullptr, nullptr, nullptr, nullptr);
}

Rect Screen::allocation(GtkWidget* box) {
  double x = 0;
  double y = 0;
  gtk_widget_translate_coordinates(box, gtk_widget_get_parent(box), 0, 0, &x, &y);
  return {x, y, static_cast<double>(gtk_widget_get_width(box)),
          static_cast<double>(gtk_widget_get_height(box))};
}

GtkWindow* Screen::alert() {
  GListModel* windows = gtk_window_get_toplevels();
  for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
    auto* window = static_cast<GtkWindow*>(g_list_model_get_item(windows, i));
    g_object_unref(window);
    if (ADW_IS_MESSAGE_DIALOG(window)) return window;
  }
  return nullptr;
}

void Screen::press(const std::string& key) {
  run("xdotool key " + key);
}

void Screen::click(int x, int y) {
  run("xdotool mousemove " + std::to_string(x) + " " + std::to_string(y) + " click 1");
}

} // namespace quarnet::platform
