#include "tests/platform/gtk/Screen.h"

namespace quarnet::platform {
namespace {

class ViewTest : public testing::Test, protected Screen {};

TEST_F(ViewTest, FramesAreHonouredExactly) {
  const auto backdrop = toolkit_->makeView();
  const auto panel = toolkit_->makeView();
  const auto bar = toolkit_->makeTitleBar();
  bar->setTitle("로그인");
  bar->setRightButton("닫기", nullptr);
  backdrop->setFrame({0, 0, 320, 548});
  bar->setFrame({0, 0, 320, 44});
  panel->addSubview(bar);
  backdrop->addSubview(panel);
  toolkit_->keyWindow()->addSubview(backdrop);

  // A point, a panel that reaches beyond its parent, another that lies outside of it, and one on
  // parts of points, whose edges are rounded each for itself.
  const std::pair<Rect, Rect> askedAndShown[] = {
      {{160, 274, 0, 0}, {160, 274, 0, 0}},
      {{0, 20, 320, 548}, {0, 20, 320, 548}},
      {{-700, -50, 900, 4000}, {-700, -50, 900, 4000}},
      {{10.4, 10.4, 20.2, 20.2}, {10, 10, 21, 21}},
      {{5, 5, -10, -10}, {5, 5, 0, 0}},
  };
  for (const auto& [asked, shown] : askedAndShown) {
    panel->setFrame(asked);
    settle();
    const auto shownBoxes = boxes();
    ASSERT_EQ(shownBoxes.size(), 4u);
    EXPECT_EQ(panel->frame(), asked);
    EXPECT_EQ(allocation(shownBoxes[1]), (Rect{0, 0, 320, 548}));
    EXPECT_EQ(allocation(shownBoxes[2]), shown);
    EXPECT_EQ(allocation(shownBoxes[3]), (Rect{0, 0, 320, 44}));
    // The theme lets the bar itself reach a point beyond the edges, but no lower.
    const Rect header = allocation(gtk_widget_get_first_child(shownBoxes[3]));
    EXPECT_EQ(header.y + header.height, 44);
  }
  backdrop->removeFromSuperview();
}

TEST_F(ViewTest, ResizedWindowKeepsEverythingInReach) {
  // A header bar of the application's has the window's buttons, so that they are covered, too.
  gtk_window_set_child(window_, gtk_header_bar_new());
  int closings = 0;
  const auto close = [](int* count) -> gboolean { return ++*count; };
  g_signal_connect_swapped(window_, "close-request", G_CALLBACK(+close), &closings);
  const auto window = toolkit_->keyWindow();
  const auto view = toolkit_->makeView();
  window->addSubview(view);
  view->setFrame({0, 0, 320, 548});
  const auto page = toolkit_->makeWebView();
  page->setFrame({0, 44, 320, 548}); // reaches below the window's edge
  view->addSubview(page);

  // In a larger window the views keep to the middle, in a smaller one they get smaller, to whole
  // points; over another content of the application's as well.
  const struct {
    int width, height;
    float left, top, shownWidth;
  } sizes[] = {{640, 568, 160, 0, 320},
               {320, 768, 0, 100, 320},
               {240, 568, 0, 71, 240},
               {320, 294, 80, 10, 160},
               {250, 371, 22, 7, 204}};
  for (const auto& size : sizes) {
    gtk_widget_grab_focus(pages().at(0));
    gtk_window_set_child(window_, gtk_header_bar_new());
    EXPECT_EQ(gtk_window_get_focus(window_), pages().at(0));
    gtk_window_set_default_size(window_, size.width, size.height);
    ASSERT_TRUE(waitUntil([&] {
      return gtk_widget_get_width(GTK_WIDGET(window_)) == size.width &&
             gtk_widget_get_height(GTK_WIDGET(window_)) == size.height;
    }));
    settle();
    EXPECT_EQ(window->frame(), (Rect{0, 0, 320, 568}));
    EXPECT_EQ(allocation(boxes()[1]), (Rect{0, 0, 320, 548}));
    graphene_rect_t shown;
    ASSERT_TRUE(gtk_widget_compute_bounds(boxes()[1], GTK_WIDGET(window_), &shown));
    EXPECT_EQ(shown.origin.x, size.left);
    EXPECT_EQ(shown.origin.y, size.top);
    EXPECT_EQ(shown.size.width, size.shownWidth);
    ASSERT_TRUE(gtk_widget_compute_bounds(pages().at(0), boxes()[0], &shown));
    EXPECT_EQ(shown.origin.y + shown.size.height, 568);
    const int before = closings;
    click(size.width - 10, 10);
    EXPECT_TRUE(waitUntil([&] { return closings == before + 1; }));
  }
  view->removeFromSuperview();
}

TEST_F(ViewTest, ViewsOutliveTheirWindow) {
  const auto window = toolkit_->keyWindow();
  const auto view = toolkit_->makeView();
  window->addSubview(view);
  gtk_window_destroy(window_);
  view->setFrame({0, 0, 10, 10});
  view->removeFromSuperview();
  window->addSubview(view);
  EXPECT_EQ(toolkit_->keyWindow(), nullptr);
  window_ = GTK_WINDOW(gtk_window_new());
}

TEST_F(ViewTest, AlertIsPressedOnceHoweverItIsPutAway) {
  const std::pair<const char*, std::function<void()>> waysOut[] = {
      {"closed", [] { gtk_window_close(alert()); }},
      {"destroyed", [] { gtk_window_destroy(alert()); }},
      {"Escape", [this] { press("Escape"); }},
      {"Return", [this] { press("Return"); }},
      {"gone with its window", [this] { gtk_window_destroy(window_); }},
  };
  std::string tail;
  for (const auto& [what, putAway] : waysOut) {
    SCOPED_TRACE(what);
    int pressed = 0;
    toolkit_->showAlert("denied\xff", "사용자가 거부했습니다 <b>&\xff" + tail, "확인",
                        [&] { ++pressed; });
    ASSERT_NE(alert(), nullptr);
    EXPECT_EQ(gtk_window_get_transient_for(alert()), window_);
    EXPECT_TRUE(gtk_window_get_modal(alert()));
    EXPECT_STREQ(adw_message_dialog_get_heading(ADW_MESSAGE_DIALOG(alert())), "denied\uFFFD");
    EXPECT_NE(texts(GTK_WIDGET(alert())).find("사용자가 거부했습니다 <b>&\uFFFD"),
              std::string::npos);
    settle();
    EXPECT_LT(gtk_widget_get_height(GTK_WIDGET(alert())), 568) << "its button is in reach";
    EXPECT_LE(gtk_widget_get_width(GTK_WIDGET(alert())), 320);
    EXPECT_EQ(pressed, 0);
    putAway();
    EXPECT_TRUE(waitUntil([&] { return pressed > 0 && alert() == nullptr; }));
    settle();
    EXPECT_EQ(pressed, 1);
    tail.append(20'000, 'x');
  }
  window_ = GTK_WINDOW(gtk_window_new());
}

} // namespace
} // namespace quarnet::platform
