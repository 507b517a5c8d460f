#pragma once

#include "quarnet/platform/Toolkit.h"

#include <memory>

namespace quarnet {

class OAuthClient;

/// The views of the login screen: lays them over the key window, moves them and takes them off
/// again. Belongs to one OAuthClient, which decides every navigation.
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
  /// Takes the client from its page.
  ~LoginScreen();
  LoginScreen(const LoginScreen&) = delete;
  LoginScreen& operator=(const LoginScreen&) = delete;

  /// Opens the screen as OAuthClient::loginFinishedFailed() says.
  void open();
  /// Closes it as OAuthClient::closeLoginView() says.
  void close();

  Part<platform::WebView> page;
  /// Holds title bar and page.
  Part<platform::View> panel;
  /// As large as the window.
  Part<platform::View> backdrop;

private:
  struct Views {
    std::shared_ptr<platform::WebView> page;
    std::shared_ptr<platform::View> panel;
    std::shared_ptr<platform::View> backdrop;
  };

  /// Takes off the views that a close was started for, which need not be the latest.
  void remove(const Views& old);

  OAuthClient& client_;
  /// The panel whose closing is under way.
  std::weak_ptr<platform::View> closing_;
};

} // namespace quarnet
