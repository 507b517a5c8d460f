#include "quarnet/platform/headless/HeadlessToolkit.h"

#include <gmock/gmock.h>

namespace quarnet::platform {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST(HeadlessToolkit, RunsAnimationsInTheOrderOfTheirEnds) {
  HeadlessToolkit toolkit;
  const auto view = toolkit.makeView();
  toolkit.keyWindow()->addSubview(view);
  const auto shownX = [&] { return toolkit.window()->children().at(0)->shownFrame().x; };
  std::vector<std::string> ended;
  const auto move = [&](std::chrono::milliseconds time, double x, const std::string& name) {
    const Rect frame{x, 0, 0, 0};
    const auto end = [&ended, name](bool finished) {
      ended.push_back(name + (finished ? "" : " cut"));
    };
    toolkit.animate(
        time, [&] { view->setFrame(frame); }, end);
  };
  move(300ms, 100, "long");
  toolkit.animate(100ms, nullptr, [&](bool) {
    ended.emplace_back("short");
    toolkit.animate(150ms, nullptr, [&](bool) { ended.emplace_back("nested"); });
  });
  EXPECT_EQ(view->frame().x, 100);
  toolkit.advance(60ms);
  EXPECT_GT(shownX(), 0);
  EXPECT_LT(shownX(), 20); // starts slowly
  toolkit.advance(180ms);
  EXPECT_GT(shownX(), 80); // ends slowly
  EXPECT_LT(shownX(), 100);
  EXPECT_THAT(ended, ElementsAre("short"));
  toolkit.advance(10ms); // the nested one began when the short one ended
  EXPECT_THAT(ended, ElementsAre("short", "nested"));

  // A frame set in between starts where the view is seen; one set outside jumps.
  const double from = shownX();
  move(100ms, 0, "back");
  EXPECT_EQ(shownX(), from);
  toolkit.cutAnimationsShort();
  EXPECT_EQ(shownX(), 0);
  view->setFrame({7, 0, 0, 0});
  EXPECT_EQ(shownX(), 7);
  toolkit.advance(1s);
  EXPECT_THAT(ended, ElementsAre("short", "nested", "long cut", "back cut"));
}

TEST(HeadlessToolkit, KeepsAViewInOnePlaceOnly) {
  HeadlessToolkit toolkit;
  const auto outer = toolkit.makeView();
  const auto inner = toolkit.makeView();
  toolkit.keyWindow()->addSubview(outer);
  toolkit.keyWindow()->addSubview(inner);
  outer->addSubview(inner);
  inner->addSubview(outer); // would be nobody's
  const auto& top = toolkit.window()->children();
  ASSERT_EQ(top.size(), 1U);
  ASSERT_EQ(top[0]->children().size(), 1U);
  EXPECT_EQ(top[0]->children()[0]->children().size(), 0U);
}

} // namespace
} // namespace quarnet::platform
