#pragma once

#include "quarnet/core/Callback.h"
#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"
#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/Toolkit.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace quarnet {

class LoginListener;
class LoginScreen;
struct LoginOverlay;
class Registration;
class SignInRun;

/// A rectangle for the application's own use; the library neither reads nor writes it.
QUARNET_EXPORT extern platform::Rect oldStatusFrame;

/// The login screen: a web page laid over the application's window, in which the user signs in
/// (RFC 6749, section 4.1). One serves every login.
///
/// The session manager owns the screen and opens it. The screen builds the addresses from the
/// manager's configuration, decides every navigation, takes the authorization code from the page
/// that ends the sign-in, exchanges it for tokens, saves them, closes, and then calls the
/// application back. A screen that the user closes and an authorization error call nothing back.
///
/// Everything here is to be used on the user-interface thread, except that result() and the
/// callback may be read and written from any thread, and that parseData() may run on any. Screens
/// are held by shared pointers: one that is open, or waits for an answer, keeps itself alive.
/// Nothing is thrown.
class QUARNET_EXPORT OAuthClient final : public platform::WebViewDelegate,
                                         public std::enable_shared_from_this<OAuthClient> {
public:
  /// A screen that is not open.
  static std::shared_ptr<OAuthClient> make();
  ~OAuthClient() override;
  /// The screen itself.
  OAuthClient& init() { return *this; }

  OAuthClient(const OAuthClient&) = delete;
  OAuthClient& operator=(const OAuthClient&) = delete;

  /// Kept for the application; the library neither reads nor writes it.
  bool _sessionChecked = false;
  /// Kept for the application; the library neither reads nor writes it.
  Text checkedURL;

  /// The sign-in page; like the two views below, null before the first login and from the end of a
  /// close on. The window holds the views of a login; one that is set here is held by the screen.
  std::shared_ptr<platform::WebView> loginView() const;
  void setLoginView(std::shared_ptr<platform::WebView> view);
  /// The backdrop, as large as the window.
  std::shared_ptr<platform::View> viewBlock() const;
  void setViewBlock(std::shared_ptr<platform::View> view);
  /// The panel that holds title bar and page and grows and shrinks with them.
  std::shared_ptr<platform::View> bgView() const;
  void setBgView(std::shared_ptr<platform::View> view);

  /// Kept for the application; the login does not use it. Absent until set.
  const std::optional<Data>& receivedData() const { return receivedData_; }
  void setReceivedData(std::optional<Data> data) { receivedData_ = std::move(data); }
  /// Kept for the application; the login does not use it. Absent until set.
  const std::optional<platform::HttpResponse>& response() const { return response_; }
  void setResponse(std::optional<platform::HttpResponse> response) {
    response_ = std::move(response);
  }

  /// The text of the last token answer; absent before it and when it was not valid UTF-8.
  Text result() const;
  void setResult(Text result);

  /// The object that is called back when a code exchange has ended; null for none. It must be of
  /// the operations' own class and is not owned: before it dies, call set_target(nullptr) on the
  /// main thread. Nothing calls it any more then, an exchange that is under way included.
  void* _target() const;
  void set_target(void* target);
  /// Its operation for a token answer, whatever that says; null for none.
  Operation _finishedSelector() const;
  void set_finishedSelector(Operation finished);
  /// Its operation for a transport error; null for none.
  Operation _failedSelector() const;
  void set_failedSelector(Operation failed);

  /// Lays the screen over the key window, lets it grow for half a second and then loads the
  /// authorization page. When a screen is open already, a second one is laid on top; button, page
  /// and alert of each close that one. One that is closed while it grows loads nothing.
  ///
  /// `finished` is called for a token answer, whatever it says ("RC" and "RM" empty, "RD" the
  /// answer's text, left out when it is not UTF-8), `failed` for a transport error ("RM" its
  /// description, the others empty), on the main thread. A target that dies before the login has
  /// ended is to be taken back by set_target(). Without a toolkit or a key window one line is
  /// written to the log and nothing else happens.
  template <class T>
  void loginFinishedFailed(T* target, std::type_identity_t<Method<T>> finished,
                           std::type_identity_t<Method<T>> failed) {
    loginFinishedFailed(makeCallback(target, finished, failed));
  }
  void loginFinishedFailed(std::nullptr_t, Operation finished, Operation failed) {
    loginFinishedFailed({nullptr, finished, failed});
  }
  void loginFinishedFailed(CallbackTriple callback);

  /// Clears the page, lets the screen shrink for half a second and takes it off the window. Calls
  /// nothing back and keeps the callback. What its page still brings is not examined. Nothing when
  /// no screen is open or it is closing already; of two, the latest closes.
  void closeLoginView();

  /// The button of the authorization-error alert, whatever its index: closes the screen.
  void alertViewClickedButtonAtIndex(int buttonIndex);

  /// The authorization request's address (RFC 6749, section 4.1.1).
  std::string getOAuthorizationUrl();

  /// The token request's address (RFC 6749, section 4.1.3), client secret and all.
  std::string getOAccessTokenUrl();

  /// Whether `webView` may load `url`. The portal's open page opens in the system's browser
  /// instead; the page of a screen that closes is only cleared.
  bool webViewShouldStartLoadWithRequestNavigationType(platform::WebView& webView,
                                                       const std::string& url, int navigationType);

  /// Logs the error; the screen stays open.
  void webViewDidFailLoadWithError(platform::WebView& webView, const platform::WebLoadError& error);

  /// Examines a page that has finished: the end of the sign-in starts the code exchange, every time
  /// it is seen; an authorization error (RFC 6749, section 4.1.2.1) is kept in the session manager
  /// and shown.
  void webViewDidFinishLoad(platform::WebView& webView);

  /// Sends the token request to `url` without waiting for the answer, which is then taken over as
  /// by parseData() and reported to who is registered by then.
  void readUrl(const std::string& url);

  /// Takes a token endpoint's answer (RFC 6749, section 5.1) into the token record, saves it and
  /// has the screen closed on the main thread. One that is too large for the memory changes
  /// nothing.
  void parseData(const Data& answer);

private:
  friend class LoginScreen;
  friend class SignInRun;

  OAuthClient();

  bool shouldStartLoad(platform::WebView& view, const std::string& url) override {
    return webViewShouldStartLoadWithRequestNavigationType(view, url, 0);
  }
  void didFailLoad(platform::WebView& view, const platform::WebLoadError& error) override {
    webViewDidFailLoadWithError(view, error);
  }
  void didFinishLoad(platform::WebView& view) override { webViewDidFinishLoad(view); }

  void close(const LoginOverlay& overlay);
  /// What closes the overlay of that page.
  std::function<void()> closerOf(const platform::WebView& page);

  void exchangeCode(const std::string& url, std::function<void()> close);
  void showAuthorizationError(const std::string& url, std::function<void()> close);
  /// Sends the token request; `close` runs on the main thread when tokens were taken.
  void exchange(const std::string& url, std::function<void()> close);
  // Runs on a background thread.
  void exchangeAnswered(const platform::HttpResult& answer, const std::function<void()>& close);
  // These two throw std::bad_alloc, and nothing has been taken then.
  void report(const platform::HttpResult& answer, const std::function<void()>& close);
  void takeAndClose(const Data& answer, const std::function<void()>& close);

  const std::unique_ptr<LoginScreen> screen_;
  /// Set before the screen opens; null for a login as this class describes it.
  std::shared_ptr<LoginListener> listener_;
  std::optional<Data> receivedData_;
  std::optional<platform::HttpResponse> response_;

  const std::shared_ptr<Registration> registration_;
  /// Guards what the background completion of an exchange writes.
  mutable std::mutex mutex_;
  Text result_;
};

} // namespace quarnet
