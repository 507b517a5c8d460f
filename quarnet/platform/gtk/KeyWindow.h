#pragma once

#include "quarnet/platform/gtk/FrameNode.h"

#include <memory>

namespace quarnet::platform {

/// The application's window as a view: a layer over the window's content, there only while it holds
/// something.
///
/// The layer has the bounds that the window had when the first view was laid over it. Later it
/// keeps to the middle of a larger window and is drawn smaller, as a whole, in a smaller one, so
/// that frames stay true and everything stays in reach. The content takes no input meanwhile; what
/// has the keyboard focus gets it back at the end.
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
  void unwrap();
  void emptied() override { unwrap(); }

  /// Becomes null when the window is destroyed.
  GtkWindow* window_;
  /// What takes the content's place in the window: the content, and the layer above it.
  Ref<GtkOverlay> overlay_;
  GtkWidget* formerFocus_ = nullptr;
  bool contentCouldFocus_ = true;
};

} // namespace quarnet::platform
