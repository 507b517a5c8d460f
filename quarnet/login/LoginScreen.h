#pragma once

#include "quarnet/platform/Toolkit.h"

#include <memory>

namespace quarnet {

class OAuthClient;

/// The views of the login screen: lays them over the key window, moves them and takes them off
/// again. Part of the OAuthClient that it is made with, which its page asks about every navigation.
/// Belongs to the user-interface thread.
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
  /// Takes the client from its page.
  ~LoginScreen();
  LoginScreen(const LoginScreen&) = delete;
  LoginScreen& operator=(const LoginScreen&) = delete;

  /// Lets the screen grow for half a second, then loads the authorization page. On a screen that is
  /// open already it lays a second one on top. Without a toolkit or a key window it writes one line
  /// to the log and does nothing else.
  void open();

  /// Clears the page, lets the screen shrink for half a second and takes it off. Nothing when no
  /// screen is open or it is closing already.
  void close();

  Part<platform::WebView> page;
  /// Holds title bar and page.
  Part<platform::View> panel;
  /// As large as the window.
  Part<platform::View> backdrop;

private:
  std::shared_ptr<platform::TitleBar> makeTitleBar(platform::Toolkit& toolkit, double width);
  std::shared_ptr<platform::WebView> makePage(platform::Toolkit& toolkit, double width,
                                              double height);
  /// Takes off the views that a close was started for, which need not be the latest.
  void remove(const std::shared_ptr<platform::WebView>& oldPage,
              const std::shared_ptr<platform::View>& oldPanel,
              const std::shared_ptr<platform::View>& oldBackdrop);

  OAuthClient& client_;
  /// The panel whose closing is under way.
  std::weak_ptr<platform::View> closing_;
};

} // namespace quarnet
