#include "tests/platform/gtk/Screen.h"

#include "quarnet/platform/glib/GlibMainThread.h"
#include "quarnet/platform/gtk/Ref.h"

#include <chrono>
#include <fstream>
#include <iterator>

namespace quarnet::platform {
namespace {

std::string run(const std::string& command) {
  int status = -1;
  char* output = nullptr;
  EXPECT_TRUE(g_spawn_command_line_sync(command.c_str(), &output, nullptr, &status, nullptr))
      << command << ": is it installed?";
  EXPECT_EQ(status, 0) << command;
  return Chars(output).get();
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

GtkWidget* Screen::button(const std::string& label) {
  for (GtkWidget* button : shown("GtkButton"))
    if (gtk_widget_get_mapped(button) && label == texts(button)) return button;
  return nullptr;
}

std::string Screen::texts(GtkWidget* widget) {
  std::string texts;
  for (GtkWidget* label : widgets(widget, "GtkLabel"))
    texts += (texts.empty() ? "" : "\n") + std::string(gtk_label_get_text(GTK_LABEL(label)));
  return texts;
}

std::string Screen::pageFile(const std::string& name) {
  std::ifstream file(QUARNET_PAGES "/" + name);
  return {std::istreambuf_iterator<char>(file), {}};
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

void Screen::press(const std::string& keys) {
  run("xdotool key " + keys);
}

void Screen::click(int x, int y) {
  run("xdotool mousemove " + std::to_string(x) + " " + std::to_string(y) + " click 1");
}

int Screen::colours(const std::string& part) {
  return std::stoi(run("import -window root -crop " + part + " -format %k info:"));
}

} // namespace quarnet::platform
