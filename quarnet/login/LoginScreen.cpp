// How the login screen is built, opened and closed.

#include "quarnet/core/Registration.h"
#include "quarnet/core/Numbers.h"
#include "quarnet/login/OAuthClient.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::Color;
using platform::harmless;
using platform::log;
using platform::Platform;
using platform::Rect;
using platform::TitleBar;
using platform::Toolkit;
using platform::View;
using platform::WebView;

namespace {

constexpr std::chrono::milliseconds kAnimationTime{500};
constexpr double kStatusBarHeight = 20.0;
constexpr double kTitleBarHeight = 44.0;
constexpr Color kBackdropGrey{0.7, 0.7, 0.7, 1.0};
constexpr Color kPanelGrey{0.5, 0.5, 0.5, 1.0};
constexpr Color kTransparent{0.0, 0.0, 0.0, 0.0};

/// The part of the window's height that the screen takes.
double usableHeight(double windowHeight, const std::string& systemVersion) {
  // The whole number at the front says all: a version is at least 7.0 when that is at least 7.
  return integerValue(systemVersion) >= 7 ? windowHeight - kStatusBarHeight : windowHeight;
}

} // namespace

void OAuthClient::loginFinishedFailed(CallbackTriple callback) {
  registration_->set(callback);

  const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit;
  const std::shared_ptr<View> window = toolkit ? toolkit->keyWindow() : nullptr;
  if (!window) {
    return log("OAuthClient : there is no ", harmless(toolkit ? "key window" : "toolkit"),
               ", the login screen cannot open");
  }
  const Rect bounds = window->frame();
  const double width = bounds.width;
  const double height = usableHeight(bounds.height, toolkit->systemVersion());

  const std::shared_ptr<View> backdrop = toolkit->makeView();
  backdrop->setFrame({0, 0, width, height});
  backdrop->setBackgroundColor(kBackdropGrey);
  window->addSubview(backdrop);

  const std::shared_ptr<View> panel = toolkit->makeView();
  panel->setFrame({width / 2, height / 2, 0, 0});
  panel->setBackgroundColor(kPanelGrey);
  panel->setClipsToBounds(true);
  panel->setAlpha(1.0);
  backdrop->addSubview(panel);

  panel->addSubview(makeTitleBar(*toolkit, width));
  const std::shared_ptr<WebView> page = makeLoginView(*toolkit, width, height);
  panel->addSubview(page);

  viewBlock_.refer(backdrop);
  bgView_.refer(panel);
  loginView_.refer(page);

  // 20 points below the window's top whatever the system's version, so the panel may reach beyond
  // the backdrop's lower edge: this is meant.
  const Rect open{0, kStatusBarHeight, width, height};
  toolkit->animate(
      kAnimationTime, [panel, open] { panel->setFrame(open); },
      [screen = shared_from_this(), shown = std::weak_ptr(page)](bool) {
        if (const auto stillThere = shown.lock()) stillThere->load(screen->getOAuthorizationUrl());
      });
}

std::shared_ptr<TitleBar> OAuthClient::makeTitleBar(Toolkit& toolkit, double width) {
  std::shared_ptr<TitleBar> bar = toolkit.makeTitleBar();
  bar->setFrame({0, 0, width, kTitleBarHeight});
  bar->setTitle("로그인");
  // The button keeps the screen: one that the manager has replaced can still be closed.
  bar->setRightButton("닫기", [screen = shared_from_this()] { screen->closeLoginView(); });
  return bar;
}

std::shared_ptr<WebView> OAuthClient::makeLoginView(Toolkit& toolkit, double width, double height) {
  std::shared_ptr<WebView> page = toolkit.makeWebView();
  page->setDelegate(this);
  page->setBackgroundColor(kTransparent);
  page->setScalesPageToFit(true);
  page->setFrame({0, kTitleBarHeight, width, height - kTitleBarHeight});
  page->setBounces(false);
  return page;
}

void OAuthClient::closeLoginView() {
  const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit;
  const std::shared_ptr<WebView> page = loginView();
  const std::shared_ptr<View> panel = bgView();
  const std::shared_ptr<View> backdrop = viewBlock();
  if (!toolkit || !page || !panel || !backdrop || closing_.lock() == panel) return;
  closing_ = panel;

  const Rect now = panel->frame();
  // The target follows from the size alone, not from where the panel lies: this is meant.
  const Rect point{now.width / 2, now.height / 2, 0, 0};
  toolkit->animate(
      kAnimationTime,
      [page, panel, point] {
        panel->setFrame(point);
        page->load("about:blank");
      },
      [screen = shared_from_this(), page, panel, backdrop](bool) {
        screen->removeViews(page, panel, backdrop);
      });
}

void OAuthClient::removeViews(const std::shared_ptr<WebView>& page,
                              const std::shared_ptr<View>& panel,
                              const std::shared_ptr<View>& backdrop) {
  page->setDelegate(nullptr);
  page->removeFromSuperview();
  panel->removeFromSuperview();
  backdrop->removeFromSuperview();
  if (loginView() == page) setLoginView(nullptr);
  if (bgView() == panel) setBgView(nullptr);
  if (viewBlock() == backdrop) setViewBlock(nullptr);
}

void OAuthClient::alertViewClickedButtonAtIndex(int) {
  closeLoginView();
}

} // namespace quarnet
