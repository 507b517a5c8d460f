#include "tests/login/LoginTest.h"

namespace quarnet::test {
namespace {

TEST(HeadlessToolkit, RunsAnimationsInTheOrderOfTheirEnds) {
  HeadlessToolkit toolkit;
  const auto view = toolkit.makeView();
  toolkit.keyWindow()->addSubview(view);
  const HeadlessView& shown = *toolkit.window()->children().at(0);
  std::vector<std::string> ended;
  const auto ends = [&](const char* name) {
    return [&ended, name](bool finished) {
      ended.push_back(std::string(name) + (finished ? "" : " cut"));
    };
  };
  toolkit.animate(
      300ms,
      [&] {
        view->setFrame({100, 0, 0, 0});
      },
      ends("long"));
  toolkit.animate(
      100ms, [] {},
      [&](bool) {
        ended.push_back("short");
        toolkit.animate(50ms, nullptr, ends("nested"));
      });
  EXPECT_EQ(view->frame().x, 100);
  toolkit.advance(60ms);
  EXPECT_GT(shown.shownFrame().x, 0);
  EXPECT_LT(shown.shownFrame().x, 20); // starts slowly
  toolkit.advance(180ms);
  EXPECT_GT(shown.shownFrame().x, 80); // ends slowly
  EXPECT_LT(shown.shownFrame().x, 100);
  EXPECT_THAT(ended, ElementsAre("short", "nested"));

  // A frame set in between starts where the view is seen; one set outside jumps.
  const double from = shown.shownFrame().x;
  toolkit.animate(
      100ms,
      [&] {
        view->setFrame({0, 0, 0, 0});
      },
      ends("back"));
  EXPECT_EQ(shown.shownFrame().x, from);
  toolkit.cutAnimationsShort();
  EXPECT_EQ(shown.shownFrame().x, 0);
  view->setFrame({7, 0, 0, 0});
  EXPECT_EQ(shown.shownFrame().x, 7);
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

class HeadlessExample : public LibraryTest {};

/// The example of HeadlessToolkit.h.
TEST_F(HeadlessExample, AnApplicationTestsItsLogin) {
  struct App {
    bool isSignedIn = false;
    void signedIn(const ResultDictionary&) { isSignedIn = true; }
  } app;
  const std::string code = server().issueCode("about:blank", "profile");
  platform::Platform services = platform::Platform::current();

  auto screen = std::make_shared<HeadlessToolkit>();
  services.toolkit = screen;
  platform::Platform::install(services);
  OAuthInfoManager::sharedInstance().loginFinishedFailed(&app, &App::signedIn, nullptr);
  screen->advance(500ms);
  screen->webView()->finish(apiUrl("/oauth/access_complete_mobile?code=" + code));
  EXPECT_TRUE(platform::GlibMainThread::runUntil([&] { return app.isSignedIn; }, 5s));
  screen->advance(500ms);
  EXPECT_EQ(screen->webView(), nullptr);
}

} // namespace
} // namespace quarnet::test
