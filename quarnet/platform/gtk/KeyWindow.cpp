#include "quarnet/platform/gtk/KeyWindow.h"

#include "quarnet/platform/gtk/Style.h"

#include <adwaita.h>
#include <algorithm>
#include <cmath>
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

/// The signal for another content.
const char* contentSignal(GtkWindow* window) {
  const bool isAdw = ADW_IS_APPLICATION_WINDOW(window) || ADW_IS_WINDOW(window);
  return isAdw ? "notify::content" : "notify::child";
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

/// The height of the window's buttons above the stage; none where it has others.
double controlsHeight(GtkWidget* stage) {
  return gtk_widget_get_next_sibling(stage) == nullptr ? 0 : 20;
}

/// A scale, at most a little smaller, at which a length ends with a point: in a part of one, every
/// view shines through those above it.
float toWholePoints(double length, double scale) {
  return static_cast<float>(std::floor(length * scale) / std::max(1.0, length));
}

/// Puts the layer into the middle of the stage, smaller if it has to be; what it leaves free for
/// the system is then not too low for the window's buttons.
void layOutStage(GtkWidget* stage, int width, int height, int) {
  GtkWidget* layer = gtk_widget_get_first_child(stage);
  if (layer == nullptr) return;
  const Rect bounds = reinterpret_cast<FrameBox*>(layer)->frame;
  const double controls = controlsHeight(stage);
  const double scale =
      std::max(0.0, std::min({1.0, width / std::max(1.0, bounds.width),
                              (height - controls) / std::max(1.0, bounds.height - controls)}));
  const double top = std::max((height - bounds.height * scale) / 2, controls * (1 - scale));
  const graphene_point_t origin = {
      static_cast<float>(static_cast<int>((width - bounds.width * scale) / 2)),
      static_cast<float>(static_cast<int>(top))};
  GskTransform* transform = gsk_transform_translate(nullptr, &origin);
  if (scale < 1)
    transform = gsk_transform_scale(transform, toWholePoints(bounds.width, scale),
                                    toWholePoints(bounds.height, scale));
  gtk_widget_measure(layer, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, nullptr, nullptr, nullptr);
  gtk_widget_allocate(layer, static_cast<int>(bounds.width), static_cast<int>(bounds.height), -1,
                      transform);
}

/// A page that Tab leaves moves the focus on and then gives the key back, which would move it once
/// more.
class TabsOfPages {
public:
  /// Whether the key has moved the focus already.
  bool isUsed(GtkEventController* keys, guint key) {
    if (key != GDK_KEY_Tab && key != GDK_KEY_ISO_Left_Tab) return false;
    const guint32 time = gtk_event_controller_get_current_event_time(keys);
    GtkWidget* const focus =
        gtk_root_get_focus(gtk_widget_get_root(gtk_event_controller_get_widget(keys)));
    const bool again = time == std::exchange(time_, time);
    return focus != std::exchange(focus_, focus) && again;
  }

private:
  guint32 time_ = 0;
  /// Only to be compared.
  const void* focus_ = nullptr;
};

GtkEventController* makeTabFilter() {
  GtkEventController* keys = gtk_event_controller_key_new();
  gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
  g_signal_connect_data(
      keys, "key-pressed",
      G_CALLBACK(+[](GtkEventController* pressed, guint key, guint, GdkModifierType,
                     TabsOfPages* tabs) -> gboolean { return tabs->isUsed(pressed, key); }),
      new TabsOfPages, [](gpointer tabs, GClosure*) { delete static_cast<TabsOfPages*>(tabs); },
      GConnectFlags{});
  return keys;
}

/// The widget over the whole content that holds the layer and keeps the pointer off the content.
GtkWidget* makeStage(GtkWidget* layer) {
  GtkWidget* stage = adw_bin_new();
  gtk_widget_set_layout_manager(stage, gtk_custom_layout_new(nullptr, measureStage, layOutStage));
  gtk_widget_set_overflow(stage, GTK_OVERFLOW_HIDDEN);
  addStyle(stage, "quarnet-stage");
  gtk_widget_add_controller(stage, makeTabFilter());
  adw_bin_set_child(ADW_BIN(stage), layer);
  return stage;
}

bool holdsControls(GtkWidget* widget) {
  if (GTK_IS_WINDOW_CONTROLS(widget)) return true;
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child))
    if (holdsControls(child)) return true;
  return false;
}

/// The window's buttons, and what it can be moved by.
GtkWidget* makeControls() {
  GtkWidget* sides = gtk_center_box_new();
  addStyle(sides, "quarnet-controls");
  gtk_center_box_set_start_widget(GTK_CENTER_BOX(sides), gtk_window_controls_new(GTK_PACK_START));
  gtk_center_box_set_end_widget(GTK_CENTER_BOX(sides), gtk_window_controls_new(GTK_PACK_END));
  GtkWidget* handle = gtk_window_handle_new();
  gtk_window_handle_set_child(GTK_WINDOW_HANDLE(handle), sides);
  gtk_widget_set_valign(handle, GTK_ALIGN_START);
  return handle;
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
  g_clear_weak_pointer(&window_);
  g_clear_weak_pointer(&focus_);
}

Rect KeyWindow::frame() const {
  if (overlay_) return box()->frame;
  return window_ == nullptr ? Rect{} : boundsOf(window_);
}

void KeyWindow::addSubview(std::shared_ptr<View> child) {
  if (!addChild(std::move(child)) || window_ == nullptr) return;
  GtkWidget* const focus = gtk_window_get_focus(window_);
  if (!overlay_) wrap();
  GtkWidget* const beneath = gtk_widget_get_prev_sibling(gtk_widget_get_last_child(widget()));
  covered_.push_back(std::make_unique<Covered>(
      beneath != nullptr ? beneath : gtk_overlay_get_child(overlay_.get()), focus));
  // Whatever key is pressed before something in the view has the focus is for nobody.
  gtk_window_set_focus(window_, gtk_widget_get_parent(widget()));
}

void KeyWindow::wrap() {
  frameBoxPlace(box(), boundsOf(window_));
  overlay_ = adopt(GTK_OVERLAY(gtk_overlay_new()));
  // Of our own, so that what the application does to its content is left to it.
  GtkWidget* covered = adw_bin_new();
  addStyle(covered, "quarnet-covered");
  gtk_overlay_set_child(overlay_.get(), covered);
  gtk_overlay_add_overlay(overlay_.get(), makeStage(widget()));
  takeContent();
  g_signal_connect_swapped(window_, contentSignal(window_),
                           G_CALLBACK(+[](KeyWindow* self) { self->contentChanged(); }), this);
  g_signal_connect_swapped(window_, "notify::focus-widget",
                           G_CALLBACK(+[](KeyWindow* self) { self->noteFocus(); }), this);
}

void KeyWindow::takeContent() {
  GtkWidget* const stage = gtk_widget_get_parent(widget());
  if (GtkWidget* const controls = gtk_widget_get_next_sibling(stage))
    gtk_overlay_remove_overlay(overlay_.get(), controls);
  AdwBin* const covered = ADW_BIN(gtk_overlay_get_child(overlay_.get()));
  GtkWidget* const content = contentOf(window_);
  const Ref<GtkWidget> held = content == nullptr ? nullptr : retain(content);
  if (content != nullptr) {
    // Taken along, the focus would be moved on from where it was, a little later.
    gtk_window_set_focus(window_, nullptr);
    setContent(window_, nullptr);
  }
  adw_bin_set_child(covered, content);
  if (content != nullptr && holdsControls(content))
    gtk_overlay_add_overlay(overlay_.get(), makeControls());
  setContent(window_, GTK_WIDGET(overlay_.get()));
}

void KeyWindow::contentChanged() {
  const bool isOurs = contentOf(window_) == GTK_WIDGET(overlay_.get());
  if (isOurs || isTaking_ || gtk_widget_in_destruction(GTK_WIDGET(window_))) return;
  isTaking_ = true;
  takeContent();
  isTaking_ = false;
  gtk_window_set_focus(window_, focus_ != nullptr ? focus_ : gtk_widget_get_parent(widget()));
}

void KeyWindow::noteFocus() {
  GtkWidget* const focus = gtk_window_get_focus(window_);
  if (focus != nullptr && gtk_widget_is_ancestor(focus, widget()))
    g_set_weak_pointer(&focus_, focus);
}

void KeyWindow::childRemoved(const FrameNode& child) {
  if (covered_.empty()) return;
  const auto own = std::ranges::find(covered_, child.widget(), &Covered::widget);
  // Ends its cover: at the end of this call, when everything is where it belongs.
  const std::unique_ptr<Covered> uncovered =
      std::move(own == covered_.end() ? covered_.back() : *own);
  std::erase(covered_, nullptr);
  if (!hasChildren()) unwrap();
}

void KeyWindow::unwrap() {
  const Ref<GtkOverlay> overlay = std::move(overlay_);
  if (window_ != nullptr) g_signal_handlers_disconnect_by_data(window_, this);
  adw_bin_set_child(ADW_BIN(gtk_widget_get_parent(widget())), nullptr);

  GtkWidget* const covered = gtk_overlay_get_child(overlay.get());
  GtkWidget* const content = adw_bin_get_child(ADW_BIN(covered));
  const Ref<GtkWidget> held = content == nullptr ? nullptr : retain(content);
  // The content would remain as insensitive as it is in here.
  gtk_widget_set_sensitive(covered, TRUE);
  adw_bin_set_child(ADW_BIN(covered), nullptr);
  if (window_ == nullptr || contentOf(window_) != GTK_WIDGET(overlay.get())) return;
  gtk_window_set_focus(window_, nullptr);
  setContent(window_, content);
}

} // namespace quarnet::platform
