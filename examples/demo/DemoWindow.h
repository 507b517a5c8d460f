#pragma once

#include "ApiCalls.h"
#include "LogPane.h"

#include <adwaita.h>
#include <string>

namespace demo {

/// The application's window: a page to sign in, a page for the calls, and the log.
///
/// Lives as long as its application; logins and calls that are under way by then call nobody back.
class DemoWindow {
public:
  explicit DemoWindow(AdwApplication* application);
  ~DemoWindow();
  DemoWindow(const DemoWindow&) = delete;
  DemoWindow& operator=(const DemoWindow&) = delete;

  std::shared_ptr<quarnet::platform::Log> log() const { return log_.log(); }

  /// Shows the window and goes on with the session of the last time, if there is one.
  void present();

private:
  GtkWidget* makeSignInPage();
  GtkWidget* makeWaitingPage();
  GtkWidget* makeCallsPage();
  GtkWidget* makeAnswerBox();

  void signIn();
  void signedIn(const quarnet::ResultDictionary& result);
  void signInFailed(const quarnet::ResultDictionary& result);
  void signOut();
  void signedOut(const quarnet::ResultDictionary& result);
  void signOutFailed(const quarnet::ResultDictionary& result);

  void whoAmI();
  void search();
  void choosePicture();
  void upload(const std::string& file);
  void startedCall();
  void answered(const Answer& answer);

  void showPage(const char* name);
  void tell(const std::string& text);

  /// Calls an operation of this window on a signal that has no other arguments of interest.
  template <auto operation>
  void on(GtkWidget* widget, const char* signal) {
    g_signal_connect_swapped(widget, signal,
                             G_CALLBACK(+[](DemoWindow* self) { (self->*operation)(); }), this);
  }

  LogPane log_;
  ApiCalls calls_;
  GtkWindow* window_;
  GtkWidget* toasts_;
  GtkWidget* pages_;
  GtkWidget* signInButton_ = nullptr;
  GtkWidget* actions_ = nullptr;
  GtkWidget* keyword_ = nullptr;
  GtkWidget* working_ = nullptr;
  GtkWidget* answer_ = nullptr;
  GtkWidget* focus_ = nullptr;
  AdwToast* toast_ = nullptr;
  guint pulse_ = 0;
};

} // namespace demo
