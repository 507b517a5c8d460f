#include "quarnet/platform/gtk/KeyWindow.h"

#include <adwaita.h>
#include <algorithm>
#include <utility>

namespace quarnet::platform {
namespace {

GtkWidget* contentOf(GtkWindow* window) {
  if (ADW_IS_APPLICATION_WINDOW(window))
    return adw_application_window_get_content(ADW_APPLICATION_WINDOW(window));
  if (ADW_IS_WINDOW(window)) return adw_window_get_content(ADW_WINDOW(window));
  return gtk_window_get_child(window);
}

void setContent(GtkWindow* window, GtkWidget* content) {
  if (ADW_IS_APPLICATION_WINDOW(window)) {
    adw_application_window_set_content(ADW_APPLICATION_WINDOW(window), content);
  } else if (ADW_IS_WINDOW(window)) {
    adw_window_set_content(ADW_WINDOW(window), content);
  } else {
    gtk_window_set_child(window, content);
  }
}

/// What the window has for its content: all below the title bar, the content's margins included.
Rect boundsOf(GtkWindow* window) {
  int width = gtk_widget_get_width(GTK_WIDGET(window));
  int height = gtk_widget_get_height(GTK_WIDGET(window));
  // A window that was not laid out yet will come up in this size.
  if (width == 0 || height == 0) gtk_window_get_default_size(window, &width, &height);
  graphene_rect_t area;
  GtkWidget* content = contentOf(window);
  if (content != nullptr && gtk_widget_compute_bounds(content, GTK_WIDGET(window), &area))
    height -= static_cast<int>(area.origin.y) - gtk_widget_get_margin_top(content);
  return {0, 0, static_cast<double>(std::max(0, width)), static_cast<double>(std::max(0, height))};
}

void measureStage(GtkWidget*, GtkOrientation, int, int* minimum, int* natural, int*, int*) {
  *minimum = 0;
  *natural = 0;
}

/// Puts the layer into the middle of the stage, smaller if it has to be.
void layOutStage(GtkWidget* stage, int width, int height, int) {
  GtkWidget* layer = gtk_widget_get_first_child(stage);
  if (layer == nullptr) return;
  const Rect bounds = reinterpret_cast<FrameBox*>(layer)->frame;
  const double scale =
      std::min({1.0, width / std::max(1.0, bounds.width), height / std::max(1.0, bounds.height)});
  const graphene_point_t origin = {
      static_cast<float>(static_cast<int>((width - bounds.width * scale) / 2)),
      static_cast<float>(static_cast<int>((height - bounds.height * scale) / 2))};
  GskTransform* transform = gsk_transform_translate(nullptr, &origin);
  if (scale < 1)
    transform =
        gsk_transform_scale(transform, static_cast<float>(scale), static_cast<float>(scale));
  gtk_widget_measure(layer, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, nullptr, nullptr, nullptr);
  gtk_widget_allocate(layer, static_cast<int>(bounds.width), static_cast<int>(bounds.height), -1,
                      transform);
}

/// The widget over the whole content that holds the layer and keeps the pointer off the content.
GtkWidget* makeStage(GtkWidget* layer) {
  GtkWidget* stage = adw_bin_new();
  gtk_widget_set_layout_manager(stage, gtk_custom_layout_new(nullptr, measureStage, layOutStage));
  gtk_widget_set_overflow(stage, GTK_OVERFLOW_HIDDEN);
  adw_bin_set_child(ADW_BIN(stage), layer);
  return stage;
}

void follow(GtkWidget*& pointer, GtkWidget* widget) {
  g_set_weak_pointer(&pointer, widget);
}

} // namespace

std::shared_ptr<KeyWindow> KeyWindow::of(GtkWindow* window) {
  constexpr const char* kKey = "quarnet-key-window";
  using Held = std::shared_ptr<KeyWindow>;
  auto* held = static_cast<Held*>(g_object_get_data(G_OBJECT(window), kKey));
  if (held == nullptr) {
    held = new Held(std::make_shared<KeyWindow>(window));
    g_object_set_data_full(G_OBJECT(window), kKey, held,
                           [](gpointer data) { delete static_cast<Held*>(data); });
  }
  return *held;
}

KeyWindow::KeyWindow(GtkWindow* window) : window_(nullptr) {
  g_set_weak_pointer(&window_, window);
}

KeyWindow::~KeyWindow() {
  follow(formerFocus_, nullptr);
  g_clear_weak_pointer(&window_);
}

Rect KeyWindow::frame() const {
  if (overlay_) return box()->frame;
  return window_ == nullptr ? Rect{} : boundsOf(window_);
}

void KeyWindow::addSubview(std::shared_ptr<View> child) {
  addChild(std::move(child));
  if (hasChildren() && !overlay_) wrap();
}

void KeyWindow::wrap() {
  if (window_ == nullptr) return;
  frameBoxPlace(box(), boundsOf(window_));
  follow(formerFocus_, gtk_window_get_focus(window_));
  overlay_ = adopt(GTK_OVERLAY(gtk_overlay_new()));
  if (GtkWidget* content = contentOf(window_)) {
    const Ref<GtkWidget> held = retain(content);
    contentCouldFocus_ = gtk_widget_get_can_focus(content);
    setContent(window_, nullptr);
    gtk_overlay_set_child(overlay_.get(), content);
    gtk_widget_set_can_focus(content, FALSE);
  }
  gtk_overlay_add_overlay(overlay_.get(), makeStage(widget()));
  setContent(window_, GTK_WIDGET(overlay_.get()));
}

void KeyWindow::unwrap() {
  if (!overlay_) return;
  const Ref<GtkOverlay> overlay = std::move(overlay_);
  adw_bin_set_child(ADW_BIN(gtk_widget_get_parent(widget())), nullptr);

  GtkWidget* content = gtk_overlay_get_child(overlay.get());
  const Ref<GtkWidget> held = content == nullptr ? nullptr : retain(content);
  if (content != nullptr) {
    gtk_overlay_set_child(overlay.get(), nullptr);
    gtk_widget_set_can_focus(content, contentCouldFocus_);
  }
  // The application may have given the window another content meanwhile: then that stays.
  if (window_ == nullptr || contentOf(window_) != GTK_WIDGET(overlay.get())) return;
  setContent(window_, content);
  if (formerFocus_ != nullptr && gtk_widget_get_root(formerFocus_) == GTK_ROOT(window_))
    gtk_widget_grab_focus(formerFocus_);
}

} // namespace quarnet::platform
