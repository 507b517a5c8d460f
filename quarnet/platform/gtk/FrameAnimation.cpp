#include "quarnet/platform/gtk/FrameAnimation.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quarnet::platform {
namespace {

/// The movement whose changes are being made.
constinit FrameAnimation* collecting = nullptr;

Rect between(const Rect& from, const Rect& to, double progress) {
  return {std::lerp(from.x, to.x, progress), std::lerp(from.y, to.y, progress),
          std::lerp(from.width, to.width, progress), std::lerp(from.height, to.height, progress)};
}

} // namespace

void FrameAnimation::run(std::chrono::milliseconds duration, const std::function<void()>& changes,
                         Completion completion) {
  const auto animation = std::make_shared<FrameAnimation>(std::move(completion));
  FrameAnimation* const outer = std::exchange(collecting, animation.get());
  if (changes) changes();
  collecting = outer;
  animation->play(duration);
}

void FrameAnimation::move(FrameBox* box, const Rect& frame) {
  if (collecting != nullptr) return collecting->add(box, frame);
  if (FrameAnimation* previous = std::exchange(box->movement, nullptr)) previous->cutShort();
  frameBoxPlace(box, frame);
}

void FrameAnimation::add(FrameBox* box, const Rect& frame) {
  const auto known =
      std::find_if(movements_.begin(), movements_.end(),
                   [box](const auto& movement) { return movement.box.get() == box; });
  if (known != movements_.end()) {
    known->to = frame;
    return;
  }
  if (FrameAnimation* previous = std::exchange(box->movement, this)) previous->cutShort();
  movements_.push_back({retain(box), box->frame, frame});
}

void FrameAnimation::play(std::chrono::milliseconds duration) {
  self_ = shared_from_this();
  if (movements_.empty()) return done();

  AdwAnimationTarget* target = adw_callback_animation_target_new(
      [](double progress, gpointer self) { static_cast<FrameAnimation*>(self)->show(progress); },
      this, nullptr);
  animation_ = adopt(adw_timed_animation_new(widgetOf(movements_.front().box.get()), 0, 1,
                                             static_cast<guint>(duration.count()), target));
  adw_timed_animation_set_easing(ADW_TIMED_ANIMATION(animation_.get()), ADW_EASE_IN_OUT_QUAD);
  g_signal_connect_swapped(animation_.get(), "done",
                           G_CALLBACK(+[](FrameAnimation* self) { self->done(); }), this);
  // Ends at once, and still with "done", where the widget is not to be seen or the desktop wants no
  // animations; a widget that vanishes on the way ends it, too.
  adw_animation_play(animation_.get());
}

void FrameAnimation::show(double progress) {
  for (const auto& [box, from, to] : movements_)
    if (box->movement == this) frameBoxPlace(box.get(), between(from, to, progress));
}

void FrameAnimation::cutShort() {
  finished_ = false;
  // What is left of the movement jumps to its end.
  if (animation_) adw_animation_skip(animation_.get());
}

void FrameAnimation::done() {
  if (!self_) return;
  for (const auto& [box, from, to] : movements_)
    if (box->movement == this) frameBoxRest(box.get());
  later([self = std::move(self_)] {
    if (self->completion_) std::exchange(self->completion_, nullptr)(self->finished_);
  });
}

} // namespace quarnet::platform
