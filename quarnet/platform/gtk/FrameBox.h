#pragma once

#include "quarnet/platform/Toolkit.h"

#include <gtk/gtk.h>

namespace quarnet::platform {

class FrameAnimation;

/// A widget that lies exactly where its frame says, whatever it holds: it asks for no room, and
/// gives each FrameBox in it its own frame and any other child all of its area, up to the lower
/// edge of the outermost box: what was below could not be reached.
struct FrameBox {
  GtkWidget parent;
  Rect frame;
  GdkRGBA background;
  /// The movement that the box is in; null when it stands still.
  FrameAnimation* movement;
};

struct FrameBoxClass {
  GtkWidgetClass parent;
};

/// A new, floating box of no size and without a background.
FrameBox* frameBoxNew();

/// Shows the box at `frame`; fractions of a point are rounded edge by edge.
void frameBoxPlace(FrameBox* box, const Rect& frame);

/// Notes that the box stands still again.
void frameBoxRest(FrameBox* box);

void frameBoxSetBackground(FrameBox* box, const Color& color);

/// The colour to be seen through the box: its own or that of the nearest box around it whose
/// background is opaque. Transparent when there is none.
GdkRGBA frameBoxBackdrop(FrameBox* box);

inline GtkWidget* widgetOf(FrameBox* box) {
  return &box->parent;
}

} // namespace quarnet::platform
