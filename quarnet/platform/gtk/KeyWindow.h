#pragma once

#include "quarnet/platform/gtk/Covered.h"
#include "quarnet/platform/gtk/FrameNode.h"

#include <memory>
#include <vector>

namespace quarnet::platform {

/// The application's window as a view: a layer over the window's content, there only while it holds
/// something.
///
/// The layer has the bounds that the window had when the first view was laid over it. Later it
/// keeps to the middle of a larger window, the rest of which is dimmed, and is drawn smaller, as a
/// whole, in a smaller one, so that frames stay true and everything stays in reach. Only the
/// topmost view takes input; what lies beneath gets the keyboard focus back when it is the topmost
/// again.
///
/// Another content that the application gives the window meanwhile is covered in turn.
///
/// Where the content brings the window's own buttons along, others lie above the layer, in the 20
/// points that a view is to leave free for the system at its upper edge.
class KeyWindow final : public FramedView<View> {
public:
  /// The one view of that window; the window owns it.
  static std::shared_ptr<KeyWindow> of(GtkWindow* window);

  explicit KeyWindow(GtkWindow* window);
  ~KeyWindow() override;

  /// The bounds. Setting them does nothing: they are the user's.
  Rect frame() const override;
  void setFrame(const Rect&) override {}
  void addSubview(std::shared_ptr<View> child) override;

private:
  void wrap();
  /// Puts the overlay in the place of the window's content, and that beneath the layer.
  void takeContent();
  void contentChanged();
  void noteFocus();
  void unwrap();
  void childRemoved(const FrameNode& child) override;

  /// Becomes null when the window is destroyed.
  GtkWindow* window_;
  /// What takes the content's place in the window: the content, and the layer above it.
  Ref<GtkOverlay> overlay_;
  /// What lies beneath each view of the layer: the content, and every view but the topmost.
  std::vector<std::unique_ptr<Covered>> covered_;
  /// What had the focus last in the layer; null for nothing, or when that is gone.
  GtkWidget* focus_ = nullptr;
  /// Whether the content that changes does so by our own hand.
  bool isTaking_ = false;
};

} // namespace quarnet::platform
