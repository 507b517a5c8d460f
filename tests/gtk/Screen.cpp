#include "tests/gtk/Screen.h"

#include "quarnet/platform/glib/GlibMainThread.h"

#include <chrono>

namespace quarnet::platform {
namespace {

void run(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command)
    arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  int status = -1;
  ASSERT_TRUE(g_spawn_sync(nullptr, arguments.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr,
                           nullptr, nullptr, nullptr, &status, nullptr))
      << command.front() << " is not installed";
  ASSERT_EQ(status, 0);
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
  run({"xdotool", "key", key});
}

void Screen::click(double x, double y) {
  run({"xdotool", "mousemove", std::to_string(static_cast<int>(x)),
       std::to_string(static_cast<int>(y)), "click", "1"});
}

} // namespace quarnet::platform
