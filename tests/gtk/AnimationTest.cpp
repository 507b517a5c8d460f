#include "tests/gtk/Screen.h"

#include "quarnet/platform/glib/GlibMainThread.h"

#include <algorithm>
#include <chrono>

namespace quarnet::platform {
namespace {

using namespace std::chrono_literals;

class AnimationTest : public testing::Test, protected Screen {
protected:
  AnimationTest() : view_(toolkit_->makeView()) {
    view_->setFrame({160, 274, 0, 0});
    toolkit_->keyWindow()->addSubview(view_);
    settle();
  }
  ~AnimationTest() override {
    allowAnimations(true);
    view_->removeFromSuperview();
  }

  static void allowAnimations(gboolean allowed) {
    g_object_set(gtk_settings_get_default(), "gtk-enable-animations", allowed, nullptr);
  }

  void open(std::vector<bool>& ends) {
    toolkit_->animate(
        500ms,
        [this] {
          view_->setFrame({0, 20, 320, 548});
        },
        [&ends](bool finished) { ends.push_back(finished); });
  }

  std::shared_ptr<View> view_;
};

TEST_F(AnimationTest, MovesFromWhereItIsToItsFrameInItsTime) {
  std::vector<bool> ends;
  std::vector<Rect> seen;
  const gint64 start = g_get_monotonic_time();
  open(ends);
  EXPECT_EQ(view_->frame(), (Rect{0, 20, 320, 548})) << "the frame tells where it goes";
  ASSERT_TRUE(waitUntil([&] {
    seen.push_back(allocation(boxes()[1]));
    return !ends.empty();
  }));
  EXPECT_NEAR(static_cast<double>(g_get_monotonic_time() - start), 500'000, 150'000);
  EXPECT_EQ(ends, std::vector{true});
  // It passed through frames between, each around the same middle line, and never went back.
  EXPECT_EQ(seen.front().width, 0);
  EXPECT_TRUE(std::any_of(seen.begin(), seen.end(),
                          [](const Rect& frame) { return frame.width > 40 && frame.width < 280; }));
  for (std::size_t i = 1; i < seen.size(); ++i) {
    EXPECT_GE(seen[i].width, seen[i - 1].width);
    EXPECT_NEAR(seen[i].x + seen[i].width / 2, 160, 1);
  }
  settle();
  EXPECT_EQ(allocation(boxes()[1]), (Rect{0, 20, 320, 548}));
  EXPECT_EQ(ends.size(), 1u);
}

TEST_F(AnimationTest, CompletionComesOnceHoweverItEnds) {
  const struct {
    const char* what;
    std::function<void()> before;
    std::function<void()> during;
    bool finished;
  } cases[] = {
      {"animations are switched off", [] { allowAnimations(false); }, [] {}, true},
      {"the view goes away", [] {}, [this] { view_->removeFromSuperview(); }, true},
      {"the view is nowhere", [this] { view_->removeFromSuperview(); }, [] {}, true},
      {"the window is hidden", [] {},
       [this] { gtk_widget_set_visible(GTK_WIDGET(window_), FALSE); }, true},
      {"the frame is set meanwhile", [] {},
       [this] {
         view_->setFrame({0, 20, 320, 548});
       },
       false},
      {"another movement takes over", [] {},
       [this] {
         toolkit_->animate(
             1ms,
             [this] {
               view_->setFrame({0, 20, 320, 548});
             },
             nullptr);
       },
       false},
  };
  for (const auto& [what, before, during, finished] : cases) {
    SCOPED_TRACE(what);
    allowAnimations(true);
    gtk_window_present(window_);
    toolkit_->keyWindow()->addSubview(view_);
    view_->setFrame({160, 274, 0, 0});
    settle();
    before();
    std::vector<bool> ends;
    open(ends);
    EXPECT_TRUE(ends.empty()) << "never inside the call";
    during();
    ASSERT_TRUE(waitUntil([&] { return !ends.empty(); }));
    settle();
    EXPECT_EQ(ends, std::vector{finished});
    EXPECT_EQ(view_->frame(), (Rect{0, 20, 320, 548}));
  }
}

TEST_F(AnimationTest, NothingToMoveEndsAtOnce) {
  std::vector<bool> ends;
  toolkit_->animate(500ms, nullptr, [&](bool finished) { ends.push_back(finished); });
  EXPECT_TRUE(ends.empty());
  ASSERT_TRUE(GlibMainThread::runUntil([&] { return !ends.empty(); }, 100ms));
}

} // namespace
} // namespace quarnet::platform
