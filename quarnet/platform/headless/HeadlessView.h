#pragma once

#include "quarnet/platform/Toolkit.h"
#include "quarnet/platform/headless/HeadlessAnimation.h"

#include <memory>
#include <vector>

namespace quarnet::platform {

/// A view in memory, with everything that was set of it to read.
class QUARNET_EXPORT HeadlessView {
public:
  /// At 0, 0 without a size; `clock` is not null.
  explicit HeadlessView(std::shared_ptr<const HeadlessClock> clock) : clock_(std::move(clock)) {}
  virtual ~HeadlessView();
  HeadlessView(const HeadlessView&) = delete;
  HeadlessView& operator=(const HeadlessView&) = delete;

  /// The frame as it was set; in an animation, where the movement leads.
  const Rect& frame() const { return frame_; }
  /// The frame as it is seen at this moment of the clock.
  Rect shownFrame() const;
  /// Transparent until it is set; that of a web view is white.
  const Color& backgroundColor() const { return backgroundColor_; }
  /// False until it is set.
  bool clipsToBounds() const { return clipsToBounds_; }
  /// 1 until it is set.
  double alpha() const { return alpha_; }
  /// From the lowest to the topmost.
  const std::vector<std::shared_ptr<HeadlessView>>& children() const { return children_; }
  /// Null for a view that was added to none or removed.
  const HeadlessView* parent() const { return parent_; }

protected:
  /// Sets the frame, as a movement while an animation's changes are made.
  void moveTo(const Rect& frame);
  /// Puts it on top of the children; it leaves the parent that it had. Nothing for the view itself
  /// and for one that holds it.
  void add(const std::shared_ptr<HeadlessView>& child);
  /// Leaves the parent; nothing when there is none.
  void detach();

  /// What backgroundColor() says.
  Color backgroundColor_{0, 0, 0, 0};
  /// What clipsToBounds() says.
  bool clipsToBounds_ = false;
  /// What alpha() says.
  double alpha_ = 1;

private:
  std::shared_ptr<const HeadlessClock> clock_;
  Rect frame_;
  Rect movedFrom_;
  std::shared_ptr<const HeadlessAnimation> movement_;
  std::vector<std::shared_ptr<HeadlessView>> children_;
  HeadlessView* parent_ = nullptr;
};

/// HeadlessView behind one of the seam's interfaces: View itself, TitleBar or WebView.
template <class Interface>
class HeadlessViewAs : public Interface, public HeadlessView {
public:
  using HeadlessView::HeadlessView;

  /// Where the view is, or where a movement leads.
  Rect frame() const override { return HeadlessView::frame(); }
  void setFrame(const Rect& frame) override { moveTo(frame); }
  /// What backgroundColor() says from now on.
  void setBackgroundColor(const Color& color) override { backgroundColor_ = color; }
  /// What clipsToBounds() says from now on.
  void setClipsToBounds(bool clips) override { clipsToBounds_ = clips; }
  /// What alpha() says from now on.
  void setAlpha(double alpha) override { alpha_ = alpha; }
  /// A view of another toolkit is not taken.
  void addSubview(std::shared_ptr<View> child) override {
    if (const auto view = std::dynamic_pointer_cast<HeadlessView>(child)) add(view);
  }
  /// Leaves the parent's children(); nothing when there is none.
  void removeFromSuperview() override { detach(); }
};

} // namespace quarnet::platform
