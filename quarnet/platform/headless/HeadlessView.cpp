#include "quarnet/platform/headless/HeadlessView.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quarnet::platform {

HeadlessView::~HeadlessView() {
  for (const auto& child : children_)
    child->parent_ = nullptr;
}

Rect HeadlessView::shownFrame() const {
  if (!movement_) return frame_;
  const double progress = movement_->progress(clock_->now);
  return {.x = std::lerp(movedFrom_.x, frame_.x, progress),
          .y = std::lerp(movedFrom_.y, frame_.y, progress),
          .width = std::lerp(movedFrom_.width, frame_.width, progress),
          .height = std::lerp(movedFrom_.height, frame_.height, progress)};
}

void HeadlessView::moveTo(const Rect& frame) {
  movedFrom_ = shownFrame();
  movement_ = clock_->animating;
  frame_ = frame;
}

void HeadlessView::add(const std::shared_ptr<HeadlessView>& child) {
  // A view inside itself would be nobody's.
  for (const HeadlessView* view = this; view != nullptr; view = view->parent_) {
    if (view == child.get()) return;
  }
  child->detach();
  child->parent_ = this;
  children_.push_back(child);
}

void HeadlessView::detach() {
  if (parent_ == nullptr) return;
  auto& siblings = std::exchange(parent_, nullptr)->children_;
  const auto self = std::find_if(siblings.begin(), siblings.end(),
                                 [this](const auto& view) { return view.get() == this; });
  // The parent may have been the last to hold the view.
  const std::shared_ptr<HeadlessView> kept = *self;
  siblings.erase(self);
}

} // namespace quarnet::platform
