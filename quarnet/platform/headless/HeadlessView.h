#pragma once

#include "quarnet/platform/Toolkit.h"
#include "quarnet/platform/headless/HeadlessAnimation.h"

#include <memory>
#include <vector>

namespace quarnet::platform {

/// A view in memory, with everything that was set of it to read.
class QUARNET_EXPORT HeadlessView {
public:
  explicit HeadlessView(std::shared_ptr<const HeadlessClock> clock) : clock_(std::move(clock)) {}
  virtual ~HeadlessView();
  HeadlessView(const HeadlessView&) = delete;
  HeadlessView& operator=(const HeadlessView&) = delete;

  /// The frame as it was set; in an animation, where the movement leads.
  const Rect& frame() const { return frame_; }
  /// The frame as it is seen at this moment of the clock.
  Rect shownFrame() const;
  const Color& backgroundColor() const { return backgroundColor_; }
  bool clipsToBounds() const { return clipsToBounds_; }
  double alpha() const { return alpha_; }
  /// From the lowest to the topmost.
  const std::vector<std::shared_ptr<HeadlessView>>& children() const { return children_; }
  /// Null for a view that was added to none or removed.
  const HeadlessView* parent() const { return parent_; }

protected:
  void moveTo(const Rect& frame);
  void add(const std::shared_ptr<HeadlessView>& child);
  void detach();

  Color backgroundColor_{0, 0, 0, 0};
  bool clipsToBounds_ = false;
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

  Rect frame() const override { return HeadlessView::frame(); }
  void setFrame(const Rect& frame) override { moveTo(frame); }
  void setBackgroundColor(const Color& color) override { backgroundColor_ = color; }
  void setClipsToBounds(bool clips) override { clipsToBounds_ = clips; }
  void setAlpha(double alpha) override { alpha_ = alpha; }
  /// A view of another toolkit is not taken.
  void addSubview(std::shared_ptr<View> child) override {
    if (const auto view = std::dynamic_pointer_cast<HeadlessView>(child)) add(view);
  }
  void removeFromSuperview() override { detach(); }
};

} // namespace quarnet::platform
