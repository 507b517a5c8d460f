#pragma once

#include "quarnet/platform/Toolkit.h"

#include <memory>
#include <vector>

namespace quarnet {

class OAuthClient;

/// What clears the page of a screen that closes.
inline constexpr const char* kEmptyPage = "about:blank";

/// The views of one opening, which only the tree of views owns.
struct LoginOverlay {
  std::weak_ptr<platform::WebView> page;
  /// Holds title bar and page.
  std::weak_ptr<platform::View> panel;
  /// As large as the window.
  std::weak_ptr<platform::View> backdrop;
  bool isClosing = false;
  /// Whether it has shown an authorization error, whose alert closes it.
  bool isRefused = false;
};

/// The views of the login screen: lays them over the key window, moves them and takes them off
/// again. Belongs to one OAuthClient, which decides every navigation. Opened twice, it has two
/// overlays, and what happens in one of them concerns that one alone.
/// To be used on the user-interface thread.
class LoginScreen {
public:
  /// A view of the screen; null before the first open() and from the end of a close() on. The tree
  /// of views owns it, and through its button the client; if the screen owned it as well, neither
  /// would be destroyed with a window that is destroyed while they are open.
  template <class V>
  class Part {
  public:
    std::shared_ptr<V> get() const { return view_.lock(); }
    void refer(const std::shared_ptr<V>& view) {
      view_ = view;
      kept_.reset();
    }
    /// Owns the view, too.
    void keep(std::shared_ptr<V> view) {
      view_ = view;
      kept_ = std::move(view);
    }

  private:
    std::weak_ptr<V> view_;
    std::shared_ptr<V> kept_;
  };

  explicit LoginScreen(OAuthClient& client) : client_(client) {}
  /// Takes the client from its pages.
  ~LoginScreen();
  LoginScreen(const LoginScreen&) = delete;
  LoginScreen& operator=(const LoginScreen&) = delete;

  /// Opens the screen as OAuthClient::loginFinishedFailed() says.
  void open();
  /// Closes an overlay as OAuthClient::closeLoginView() says of the latest.
  void close(const LoginOverlay& overlay);

  /// What the fields below refer to.
  LoginOverlay latest() const { return {page.get(), panel.get(), backdrop.get()}; }
  /// The overlay of that page; the latest when the page is none of ours.
  LoginOverlay overlayOf(const platform::WebView& shown) const;

  /// Notes that the overlay of that page shows an authorization error; false when it does already.
  bool beginAlert(const platform::WebView& shown);

  // The views of the latest opening.
  Part<platform::WebView> page;
  Part<platform::View> panel;
  Part<platform::View> backdrop;

private:
  struct Views {
    std::shared_ptr<platform::WebView> page;
    std::shared_ptr<platform::View> panel;
    std::shared_ptr<platform::View> backdrop;
  };

  /// Takes off the views that a close was started for, which need not be the latest.
  void remove(const Views& old);
  /// Notes that the overlay with that panel closes; false when that was known.
  bool beginClosing(const Views& old);

  OAuthClient& client_;
  /// Those that were opened, and those of the application's own views that it had closed.
  std::vector<LoginOverlay> overlays_;
};

} // namespace quarnet
