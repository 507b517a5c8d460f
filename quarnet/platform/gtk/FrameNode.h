#pragma once

#include "quarnet/platform/Toolkit.h"
#include "quarnet/platform/gtk/FrameBox.h"
#include "quarnet/platform/gtk/Ref.h"

#include <memory>
#include <vector>

namespace quarnet::platform {

/// The half of a view that is alike in all of them: its FrameBox and its place in the tree.
class FrameNode {
public:
  FrameNode() : box_(adopt(frameBoxNew())) {}
  virtual ~FrameNode();
  FrameNode(const FrameNode&) = delete;
  FrameNode& operator=(const FrameNode&) = delete;

  FrameBox* box() const { return box_.get(); }
  GtkWidget* widget() const { return widgetOf(box_.get()); }

protected:
  const Rect& nodeFrame() const { return frame_; }
  void setNodeFrame(const Rect& frame);
  /// False for what is no view of this toolkit.
  bool addChild(std::shared_ptr<View> child);
  void removeFromParent();
  bool hasChildren() const { return !children_.empty(); }

  /// After that child was removed.
  virtual void childRemoved(const FrameNode&) {}

private:
  /// Takes the focus from what is in the box: taken along, it would be moved on from there later.
  void giveUpFocus() const;

  Ref<FrameBox> box_;
  /// Where the view is or, in an animation, is going.
  Rect frame_;
  FrameNode* parent_ = nullptr;
  std::vector<std::shared_ptr<View>> children_;
};

/// A view of the seam's kind `Interface`, shown by a FrameBox.
template <class Interface>
class FramedView : public Interface, public FrameNode {
public:
  Rect frame() const override { return nodeFrame(); }
  void setFrame(const Rect& frame) override { setNodeFrame(frame); }
  void setBackgroundColor(const Color& color) override { frameBoxSetBackground(box(), color); }
  void setClipsToBounds(bool clips) override {
    gtk_widget_set_overflow(widget(), clips ? GTK_OVERFLOW_HIDDEN : GTK_OVERFLOW_VISIBLE);
  }
  void setAlpha(double alpha) override { gtk_widget_set_opacity(widget(), alpha); }
  void addSubview(std::shared_ptr<View> child) override { addChild(std::move(child)); }
  void removeFromSuperview() override { removeFromParent(); }
};

} // namespace quarnet::platform
