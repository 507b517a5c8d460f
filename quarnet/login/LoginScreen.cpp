#include "quarnet/login/LoginScreen.h"

#include "quarnet/core/Text.h"
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

LoginScreen::~LoginScreen() {
  if (const auto shown = page.get()) shown->setDelegate(nullptr);
}

void LoginScreen::open() {
  const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit;
  const std::shared_ptr<View> window = toolkit ? toolkit->keyWindow() : nullptr;
  if (!window) {
    return log("OAuthClient : there is no ", harmless(toolkit ? "key window" : "toolkit"),
               ", the login screen cannot open");
  }
  const Rect bounds = window->frame();
  const double width = bounds.width;
  const double height = usableHeight(bounds.height, toolkit->systemVersion());

  const std::shared_ptr<View> newBackdrop = toolkit->makeView();
  newBackdrop->setFrame({0, 0, width, height});
  newBackdrop->setBackgroundColor(kBackdropGrey);
  window->addSubview(newBackdrop);

  const std::shared_ptr<View> newPanel = toolkit->makeView();
  newPanel->setFrame({width / 2, height / 2, 0, 0});
  newPanel->setBackgroundColor(kPanelGrey);
  newPanel->setClipsToBounds(true);
  newPanel->setAlpha(1.0);
  newBackdrop->addSubview(newPanel);

  newPanel->addSubview(makeTitleBar(*toolkit, width));
  const std::shared_ptr<WebView> newPage = makePage(*toolkit, width, height);
  newPanel->addSubview(newPage);

  backdrop.refer(newBackdrop);
  panel.refer(newPanel);
  page.refer(newPage);

  // 20 points below the window's top whatever the system's version, so the panel may reach beyond
  // the backdrop's lower edge: this is meant.
  const Rect whole{0, kStatusBarHeight, width, height};
  toolkit->animate(
      kAnimationTime, [newPanel, whole] { newPanel->setFrame(whole); },
      [client = client_.shared_from_this(), shown = std::weak_ptr(newPage)](bool) {
        if (const auto stillThere = shown.lock()) stillThere->load(client->getOAuthorizationUrl());
      });
}

std::shared_ptr<TitleBar> LoginScreen::makeTitleBar(Toolkit& toolkit, double width) {
  std::shared_ptr<TitleBar> bar = toolkit.makeTitleBar();
  bar->setFrame({0, 0, width, kTitleBarHeight});
  bar->setTitle("로그인");
  // The button keeps the client: a screen that the manager has replaced can still be closed.
  bar->setRightButton("닫기", [client = client_.shared_from_this()] { client->closeLoginView(); });
  return bar;
}

std::shared_ptr<WebView> LoginScreen::makePage(Toolkit& toolkit, double width, double height) {
  std::shared_ptr<WebView> made = toolkit.makeWebView();
  made->setDelegate(&client_);
  made->setBackgroundColor(kTransparent);
  made->setScalesPageToFit(true);
  made->setFrame({0, kTitleBarHeight, width, height - kTitleBarHeight});
  made->setBounces(false);
  return made;
}

void LoginScreen::close() {
  const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit;
  const std::shared_ptr<WebView> oldPage = page.get();
  const std::shared_ptr<View> oldPanel = panel.get();
  const std::shared_ptr<View> oldBackdrop = backdrop.get();
  if (!toolkit || !oldPage || !oldPanel || !oldBackdrop || closing_.lock() == oldPanel) return;
  closing_ = oldPanel;

  const Rect now = oldPanel->frame();
  // The target follows from the size alone, not from where the panel stands: this is meant.
  const Rect point{now.width / 2, now.height / 2, 0, 0};
  toolkit->animate(
      kAnimationTime,
      [oldPage, oldPanel, point] {
        oldPanel->setFrame(point);
        oldPage->load("about:blank");
      },
      [this, client = client_.shared_from_this(), oldPage, oldPanel, oldBackdrop](bool) {
        remove(oldPage, oldPanel, oldBackdrop);
      });
}

void LoginScreen::remove(const std::shared_ptr<WebView>& oldPage,
                         const std::shared_ptr<View>& oldPanel,
                         const std::shared_ptr<View>& oldBackdrop) {
  oldPage->setDelegate(nullptr);
  oldPage->removeFromSuperview();
  oldPanel->removeFromSuperview();
  oldBackdrop->removeFromSuperview();
  if (page.get() == oldPage) page.keep(nullptr);
  if (panel.get() == oldPanel) panel.keep(nullptr);
  if (backdrop.get() == oldBackdrop) backdrop.keep(nullptr);
}

} // namespace quarnet
