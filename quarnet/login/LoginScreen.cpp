#include "quarnet/login/LoginScreen.h"

#include "quarnet/core/Numbers.h"
#include "quarnet/core/Text.h"
#include "quarnet/login/OAuthClient.h"
#include "quarnet/platform/Platform.h"

#include <algorithm>
#include <utility>

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

std::shared_ptr<TitleBar> makeTitleBar(Toolkit& toolkit, double width) {
  std::shared_ptr<TitleBar> bar = toolkit.makeTitleBar();
  bar->setFrame({0, 0, width, kTitleBarHeight});
  bar->setTitle("로그인");
  return bar;
}

std::shared_ptr<WebView> makePage(Toolkit& toolkit, double width, double height,
                                  platform::WebViewDelegate& delegate) {
  std::shared_ptr<WebView> page = toolkit.makeWebView();
  page->setDelegate(&delegate);
  page->setBackgroundColor(kTransparent);
  page->setScalesPageToFit(true);
  page->setFrame({0, kTitleBarHeight, width, height - kTitleBarHeight});
  page->setBounces(false);
  return page;
}

} // namespace

LoginScreen::~LoginScreen() {
  for (const LoginOverlay& overlay : overlays_)
    if (const auto shown = overlay.page.lock()) shown->setDelegate(nullptr);
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

  const std::shared_ptr<TitleBar> bar = makeTitleBar(*toolkit, width);
  newPanel->addSubview(bar);
  const std::shared_ptr<WebView> newPage = makePage(*toolkit, width, height, client_);
  newPanel->addSubview(newPage);

  backdrop.refer(newBackdrop);
  panel.refer(newPanel);
  page.refer(newPage);
  const LoginOverlay overlay = latest();
  std::erase_if(overlays_, [](const LoginOverlay& old) { return old.page.expired(); });
  overlays_.push_back(overlay);
  const std::shared_ptr<OAuthClient> kept = client_.shared_from_this();
  // The button keeps the client: a screen that the manager has replaced can still be closed.
  bar->setRightButton("닫기", [kept, overlay] { kept->close(overlay); });

  // 20 points below the window's top whatever the system's version, so the panel may reach beyond
  // the backdrop's lower edge: this is meant.
  const Rect whole{0, kStatusBarHeight, width, height};
  toolkit->animate(
      kAnimationTime, [newPanel, whole] { newPanel->setFrame(whole); },
      [this, kept, shown = overlay.page](bool) {
        const auto stillThere = shown.lock();
        // A screen that was closed on the way asks for nothing any more.
        if (stillThere && !overlayOf(*stillThere).isClosing)
          stillThere->load(kept->getOAuthorizationUrl());
      });
}

LoginOverlay LoginScreen::overlayOf(const WebView& shown) const {
  const auto found = std::ranges::find_if(overlays_, [&shown](const LoginOverlay& overlay) {
    return overlay.page.lock().get() == &shown;
  });
  return found == overlays_.end() ? latest() : *found;
}

bool LoginScreen::beginAlert(const WebView& shown) {
  for (LoginOverlay& overlay : overlays_)
    if (overlay.page.lock().get() == &shown) return !std::exchange(overlay.isRefused, true);
  return true;
}

void LoginScreen::close(const LoginOverlay& overlay) {
  const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit;
  const Views old{overlay.page.lock(), overlay.panel.lock(), overlay.backdrop.lock()};
  if (!toolkit || !old.page || !old.panel || !old.backdrop || !beginClosing(old)) return;

  const Rect now = old.panel->frame();
  // The target follows from the size alone, not from the place of the panel: this is meant.
  const Rect point{now.width / 2, now.height / 2, 0, 0};
  toolkit->animate(
      kAnimationTime,
      [old, point] {
        old.panel->setFrame(point);
        old.page->load(kEmptyPage);
      },
      [this, kept = client_.shared_from_this(), old](bool) { remove(old); });
}

bool LoginScreen::beginClosing(const Views& old) {
  for (LoginOverlay& overlay : overlays_)
    if (overlay.panel.lock() == old.panel) return !std::exchange(overlay.isClosing, true);
  overlays_.push_back({old.page, old.panel, old.backdrop, true});
  return true;
}

void LoginScreen::remove(const Views& old) {
  old.page->setDelegate(nullptr);
  old.page->removeFromSuperview();
  old.panel->removeFromSuperview();
  old.backdrop->removeFromSuperview();
  if (page.get() == old.page) page.keep(nullptr);
  if (panel.get() == old.panel) panel.keep(nullptr);
  if (backdrop.get() == old.backdrop) backdrop.keep(nullptr);
}

} // namespace quarnet
