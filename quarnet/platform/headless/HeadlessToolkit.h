#pragma once

#include "quarnet/platform/Toolkit.h"
#include "quarnet/platform/headless/HeadlessTitleBar.h"
#include "quarnet/platform/headless/HeadlessView.h"
#include "quarnet/platform/headless/HeadlessWebView.h"

#include <string>
#include <vector>

namespace quarnet::platform {

/// A message that is on the screen.
struct HeadlessAlert {
  /// In one line, above.
  std::string title;
  /// What it says.
  std::string message;
  /// The text of its one button.
  std::string button;
  /// What HeadlessToolkit::pressAlert() calls.
  std::function<void()> pressed;
};

/// A toolkit without a screen, for tests of applications that sign in: a tree of views in memory, a
/// clock that is moved by hand, and a web view that goes where the test says.
///
///     auto screen = std::make_shared<HeadlessToolkit>();
///     Platform::install({.toolkit = screen});
///     OAuthInfoManager::sharedInstance().loginFinishedFailed(&app, &App::signedIn, nullptr);
///     screen->advance(500ms); // the screen has grown and asks for the sign-in page
///     screen->webView()->finish("https://server.example/access_complete_mobile?code=abc");
///     GlibMainThread::runUntil([&] { return app.isSignedIn; }, 5s); // the code is exchanged
///     screen->advance(500ms); // the screen has shrunk and is gone
///
/// Use it from one thread. Its views and alerts may outlive it.
class QUARNET_EXPORT HeadlessToolkit final : public Toolkit {
public:
  /// With a key window of this size, in points, on a system of version "12".
  explicit HeadlessToolkit(double width = 320, double height = 568);
  ~HeadlessToolkit() override;

  /// The window that the toolkit was made with, whether or not it is the key window.
  const std::shared_ptr<HeadlessView>& window() const { return window_; }
  /// The topmost title bar in the window; null when there is none.
  std::shared_ptr<HeadlessTitleBar> titleBar() const;
  /// The topmost web view in the window; null when there is none.
  std::shared_ptr<HeadlessWebView> webView() const;

  /// From now on the application has this key window, or none.
  void setKeyWindow(std::shared_ptr<View> window) { keyWindow_ = std::move(window); }
  /// What systemVersion() says from now on.
  void setSystemVersion(std::string version) { systemVersion_ = std::move(version); }

  /// Moves the clock on, which must not go back. The completions of the animations that end on the
  /// way run in the order of their ends, each with the clock at its animation's end.
  void advance(std::chrono::milliseconds time);
  /// Ends every animation under way where it leads and tells its completion that it was cut short.
  void cutAnimationsShort();

  /// The messages that wait for an answer, the topmost last.
  const std::vector<HeadlessAlert>& alerts() const { return alerts_; }
  /// Presses the button of the topmost message, which goes away; nothing when there is none.
  void pressAlert();

  /// The addresses handed to the system's browser.
  const std::vector<std::string>& openedExternally() const { return openedExternally_; }

  std::shared_ptr<View> keyWindow() override { return keyWindow_; }
  std::shared_ptr<View> makeView() override;
  std::shared_ptr<TitleBar> makeTitleBar() override;
  std::shared_ptr<WebView> makeWebView() override;
  void animate(std::chrono::milliseconds duration, std::function<void()> changes,
               std::function<void(bool finished)> completion) override;
  void showAlert(const std::string& title, const std::string& message, const std::string& button,
                 std::function<void()> pressed) override;
  void openExternally(const std::string& url) override { openedExternally_.push_back(url); }
  std::string systemVersion() override { return systemVersion_; }

private:
  struct Running {
    std::shared_ptr<HeadlessAnimation> animation;
    std::function<void(bool finished)> completion;
  };

  std::shared_ptr<HeadlessClock> clock_ = std::make_shared<HeadlessClock>();
  std::shared_ptr<HeadlessView> window_;
  std::shared_ptr<View> keyWindow_;
  std::string systemVersion_ = "12";
  /// In the order of their ends.
  std::vector<Running> running_;
  std::vector<HeadlessAlert> alerts_;
  std::vector<std::string> openedExternally_;
};

} // namespace quarnet::platform
