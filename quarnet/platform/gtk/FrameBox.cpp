#include "quarnet/platform/gtk/FrameBox.h"

#include <algorithm>
#include <cmath>

namespace quarnet::platform {
namespace {

// The type's name is known to the whole process.
using QuarnetFrameBox = FrameBox;
using QuarnetFrameBoxClass = FrameBoxClass;
G_DEFINE_TYPE_EXTENDED(QuarnetFrameBox, frameBox, GTK_TYPE_WIDGET, G_TYPE_FLAG_FINAL, )

FrameBox* boxOf(gpointer instance) {
  return G_TYPE_CHECK_INSTANCE_CAST(instance, frameBox_get_type(), FrameBox);
}

bool isBox(GtkWidget* widget) {
  return G_TYPE_CHECK_INSTANCE_TYPE(widget, frameBox_get_type());
}

/// A length that GTK can lay out, also when the number is no length at all.
int points(double length) {
  constexpr double kLimit = 1 << 20;
  return std::isnan(length) ? 0 : static_cast<int>(std::round(std::clamp(length, -kLimit, kLimit)));
}

void place(GtkWidget* child, const Rect& frame) {
  const int x = points(frame.x);
  const int y = points(frame.y);
  const int width = std::max(0, points(frame.x + frame.width) - x);
  const int height = std::max(0, points(frame.y + frame.height) - y);
  const graphene_point_t origin = {static_cast<float>(x), static_cast<float>(y)};
  gtk_widget_allocate(child, width, height, -1, gsk_transform_translate(nullptr, &origin));
}

/// How much of the box's height is above the lower edge of the outermost box; all of it in a
/// movement, in which nothing is to change its size.
int heightInSight(FrameBox* box, int height) {
  double top = 0;
  for (;;) {
    GtkWidget* const outer = gtk_widget_get_parent(widgetOf(box));
    if (box->movement != nullptr) return height;
    if (!isBox(outer)) return std::min(height, points(box->frame.height - top));
    top += box->frame.y;
    box = boxOf(outer);
  }
}

/// Has what is in the box laid out anew.
void layOutAnew(GtkWidget* box) {
  gtk_widget_queue_allocate(box);
  for (GtkWidget* child = gtk_widget_get_first_child(box); child != nullptr;
       child = gtk_widget_get_next_sibling(child))
    if (isBox(child)) layOutAnew(child);
}

/// No child is squeezed below what it needs: what is too much for the box reaches beyond it.
void fill(GtkWidget* child, int width, int height) {
  int needed = 0;
  gtk_widget_measure(child, GTK_ORIENTATION_HORIZONTAL, -1, &needed, nullptr, nullptr, nullptr);
  width = std::max(width, needed);
  gtk_widget_measure(child, GTK_ORIENTATION_VERTICAL, width, &needed, nullptr, nullptr, nullptr);
  gtk_widget_allocate(child, width, std::max(height, needed), -1, nullptr);
}

void frameBoxMeasure(GtkWidget*, GtkOrientation, int, int* minimum, int* natural, int*, int*) {
  *minimum = 0;
  *natural = 0;
}

void frameBoxAllocate(GtkWidget* widget, int width, int height, int) {
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    if (!gtk_widget_should_layout(child)) continue;
    if (isBox(child)) {
      gtk_widget_measure(child, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, nullptr, nullptr, nullptr);
      place(child, boxOf(child)->frame);
    } else {
      fill(child, width, heightInSight(boxOf(widget), height));
    }
  }
}

void frameBoxSnapshot(GtkWidget* widget, GtkSnapshot* snapshot) {
  const graphene_rect_t bounds = {{0, 0},
                                  {static_cast<float>(gtk_widget_get_width(widget)),
                                   static_cast<float>(gtk_widget_get_height(widget))}};
  gtk_snapshot_append_color(snapshot, &boxOf(widget)->background, &bounds);
  GTK_WIDGET_CLASS(frameBox_parent_class)->snapshot(widget, snapshot);
}

void frameBoxDispose(GObject* object) {
  while (GtkWidget* child = gtk_widget_get_first_child(GTK_WIDGET(object)))
    gtk_widget_unparent(child);
  G_OBJECT_CLASS(frameBox_parent_class)->dispose(object);
}

void frameBox_class_init(QuarnetFrameBoxClass* type) {
  GTK_WIDGET_CLASS(type)->measure = frameBoxMeasure;
  GTK_WIDGET_CLASS(type)->size_allocate = frameBoxAllocate;
  GTK_WIDGET_CLASS(type)->snapshot = frameBoxSnapshot;
  G_OBJECT_CLASS(type)->dispose = frameBoxDispose;
  gtk_widget_class_set_accessible_role(GTK_WIDGET_CLASS(type), GTK_ACCESSIBLE_ROLE_GROUP);
}

void frameBox_init(QuarnetFrameBox*) {}

} // namespace

FrameBox* frameBoxNew() {
  return boxOf(g_object_new(frameBox_get_type(), nullptr));
}

void frameBoxPlace(FrameBox* box, const Rect& frame) {
  box->frame = frame;
  if (GtkWidget* parent = gtk_widget_get_parent(widgetOf(box))) gtk_widget_queue_allocate(parent);
}

void frameBoxRest(FrameBox* box) {
  box->movement = nullptr;
  layOutAnew(widgetOf(box));
}

void frameBoxSetBackground(FrameBox* box, const Color& color) {
  box->background = {static_cast<float>(color.red), static_cast<float>(color.green),
                     static_cast<float>(color.blue), static_cast<float>(color.alpha)};
  gtk_widget_queue_draw(widgetOf(box));
}

GdkRGBA frameBoxBackdrop(FrameBox* box) {
  for (GtkWidget* widget = widgetOf(box); widget != nullptr; widget = gtk_widget_get_parent(widget))
    if (isBox(widget) && boxOf(widget)->background.alpha >= 1) return boxOf(widget)->background;
  return {};
}

} // namespace quarnet::platform
