#include "tests/gtk/Screen.h"

namespace quarnet::platform {
namespace {

class AlertTest : public testing::Test, protected Screen {};

TEST_F(AlertTest, PressedRunsOnceHoweverItIsPutAway) {
  const struct {
    const char* what;
    std::function<void(GtkWindow*)> putAway;
  } cases[] = {
      {"closed", [](GtkWindow* alert) { gtk_window_close(alert); }},
      {"destroyed", [](GtkWindow* alert) { gtk_window_destroy(alert); }},
      {"Escape", [this](GtkWindow*) { press("Escape"); }},
      {"Return", [this](GtkWindow*) { press("Return"); }},
  };
  for (const auto& [what, putAway] : cases) {
    SCOPED_TRACE(what);
    int pressed = 0;
    toolkit_->showAlert("access_denied", "사용자가 거부했습니다 <b>&", "확인", [&] { ++pressed; });
    ASSERT_NE(alert(), nullptr);
    EXPECT_EQ(gtk_window_get_transient_for(alert()), window_);
    EXPECT_TRUE(gtk_window_get_modal(alert()));
    EXPECT_STREQ(adw_message_dialog_get_body(ADW_MESSAGE_DIALOG(alert())),
                 "사용자가 거부했습니다 <b>&");
    settle();
    EXPECT_EQ(pressed, 0);
    putAway(alert());
    EXPECT_TRUE(waitUntil([&] { return pressed > 0 && alert() == nullptr; }));
    settle();
    EXPECT_EQ(pressed, 1);
  }
}

TEST_F(AlertTest, GoesWithItsWindow) {
  int pressed = 0;
  toolkit_->showAlert("", "\xff\xfe", "확인", [&] { ++pressed; });
  settle();
  gtk_window_destroy(window_);
  EXPECT_TRUE(waitUntil([&] { return pressed == 1 && alert() == nullptr; }));
  window_ = GTK_WINDOW(gtk_window_new());
}

TEST_F(AlertTest, CloseButtonAndEscapeDoTheSame) {
  int closed = 0;
  const auto bar = toolkit_->makeTitleBar();
  bar->setFrame({0, 20, 320, 44});
  bar->setTitle("로그인");
  bar->setRightButton("닫기", [&] { ++closed; });
  toolkit_->keyWindow()->addSubview(bar);
  settle();
  press("Escape");
  EXPECT_TRUE(waitUntil([&] { return closed == 1; }));
  click(290, 42);
  EXPECT_TRUE(waitUntil([&] { return closed == 2; }));
  bar->removeFromSuperview();
  press("Escape");
  settle();
  EXPECT_EQ(closed, 2) << "a bar that is gone hears no keys";
}

} // namespace
} // namespace quarnet::platform
