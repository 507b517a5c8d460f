#pragma once

#include "quarnet/platform/gtk/FrameBox.h"
#include "quarnet/platform/gtk/Ref.h"

#include <adwaita.h>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace quarnet::platform {

/// The movement of some boxes from where they are to the frames that one set of changes gives them.
class FrameAnimation : public std::enable_shared_from_this<FrameAnimation> {
public:
  using Completion = std::function<void(bool finished)>;

  /// Collects the frames that `changes` sets and shows them as a movement. `completion` runs once,
  /// from the main loop, however the movement ends.
  static void run(std::chrono::milliseconds duration, const std::function<void()>& changes,
                  Completion completion);

  /// Places the box: as a part of the movement whose changes are being made, or else at once, which
  /// ends the movement that it was in.
  static void move(FrameBox* box, const Rect& frame);

  explicit FrameAnimation(Completion completion) : completion_(std::move(completion)) {}

private:
  struct Movement {
    Ref<FrameBox> box;
    Rect from;
    Rect to;
  };

  void add(FrameBox* box, const Rect& frame);
  void play(std::chrono::milliseconds duration);
  void show(double progress);
  /// Another movement took over one of the boxes.
  void cutShort();
  void done();

  Completion completion_;
  std::vector<Movement> movements_;
  Ref<AdwAnimation> animation_;
  bool finished_ = true;
  /// Keeps the movement alive while it runs.
  std::shared_ptr<FrameAnimation> self_;
};

} // namespace quarnet::platform
