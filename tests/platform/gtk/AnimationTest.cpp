#include "tests/platform/gtk/Screen.h"

#include "quarnet/platform/glib/GlibMainThread.h"

#include <algorithm>
#include <chrono>

namespace quarnet::platform {
namespace {

using namespace std::chrono_literals;

constexpr Rect kPoint{160, 274, 0, 0};
constexpr Rect kOpen{0, 20, 320, 548};

class AnimationTest : public testing::Test, protected Screen {
protected:
  ~AnimationTest() override { view_->removeFromSuperview(); }

  /// Shows the view as a point.
  void start() {
    allowAnimations(true);
    gtk_window_present(window_);
    toolkit_->keyWindow()->addSubview(view_);
    view_->setFrame(kPoint);
    settle();
  }
  void open(std::vector<bool>& ends) {
    const auto toOpen = [this] { view_->setFrame(kOpen); };
    toolkit_->animate(500ms, toOpen, [&ends](bool finished) { ends.push_back(finished); });
    EXPECT_TRUE(ends.empty()) << "never inside the call";
  }
  static void allowAnimations(gboolean allowed) {
    g_object_set(gtk_settings_get_default(), "gtk-enable-animations", allowed, nullptr);
  }

  const std::shared_ptr<View> view_ = toolkit_->makeView();
};

TEST_F(AnimationTest, MovesFromWhereItIsToItsFrameInItsTime) {
  start();
  std::vector<bool> ends;
  std::vector<Rect> seen;
  const gint64 begin = g_get_monotonic_time();
  open(ends);
  EXPECT_EQ(view_->frame(), kOpen) << "the frame tells where it goes";
  ASSERT_TRUE(waitUntil([&] {
    seen.push_back(allocation(boxes()[1]));
    return !ends.empty();
  }));
  EXPECT_NEAR(static_cast<double>(g_get_monotonic_time() - begin), 500'000, 150'000);
  // It passed through frames between, each around the same middle line, and never went back.
  EXPECT_EQ(seen.front().width, 0);
  EXPECT_TRUE(std::any_of(seen.begin(), seen.end(),
                          [](const Rect& frame) { return frame.width > 40 && frame.width < 280; }));
  for (std::size_t i = 1; i < seen.size(); ++i) {
    EXPECT_GE(seen[i].width, seen[i - 1].width);
    EXPECT_NEAR(seen[i].x + seen[i].width / 2, 160, 1);
  }
  settle();
  EXPECT_EQ(allocation(boxes()[1]), kOpen);
  EXPECT_EQ(ends, std::vector{true});
}

TEST_F(AnimationTest, CompletionComesOnceHoweverItEnds) {
  const auto nothing = [] {};
  const auto leave = [this] { view_->removeFromSuperview(); };
  const auto jump = [this] { view_->setFrame(kOpen); };
  const struct {
    const char* what;
    std::function<void()> before;
    std::function<void()> during;
    bool finished;
  } cases[] = {
      {"animations are switched off", [] { allowAnimations(false); }, nothing, true},
      {"the view goes away", nothing, leave, true},
      {"the view is nowhere", leave, nothing, true},
      {"the window is hidden", nothing,
       [this] { gtk_widget_set_visible(GTK_WIDGET(window_), FALSE); }, true},
      {"the frame is set meanwhile", nothing, jump, false},
      {"another movement takes over", nothing,
       [this, jump] { toolkit_->animate(1ms, jump, nullptr); }, false},
  };
  for (const auto& [what, before, during, finished] : cases) {
    SCOPED_TRACE(what);
    start();
    before();
    std::vector<bool> ends;
    open(ends);
    during();
    ASSERT_TRUE(waitUntil([&] { return !ends.empty(); }));
    settle();
    EXPECT_EQ(ends, std::vector{finished});
    EXPECT_EQ(view_->frame(), kOpen);
  }
  allowAnimations(true);
  bool ended = false;
  toolkit_->animate(500ms, nullptr, [&](bool) { ended = true; });
  EXPECT_FALSE(ended);
  EXPECT_TRUE(GlibMainThread::runUntil([&] { return ended; }, 100ms)) << "nothing to move";
}

} // namespace
} // namespace quarnet::platform
