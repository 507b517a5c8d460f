#pragma once

#include "LogPane.h"
#include "Messages.h"

#include <adwaita.h>
#include <quarnet/quarnet.h>
#include <string>
#include <utility>

namespace demo {

/// The application's window: a page to sign in, a page for the calls, and the log.
///
/// Belongs to its GtkWindow and ends with it, and what is under way then is cancelled.
class DemoWindow {
public:
  static DemoWindow& open(AdwApplication* application);
  DemoWindow(const DemoWindow&) = delete;
  DemoWindow& operator=(const DemoWindow&) = delete;

  std::shared_ptr<quarnet::platform::Log> log() const { return log_.log(); }

  /// Shows the window and continues the session of the last time, if there is one.
  void present();

private:
  explicit DemoWindow(AdwApplication* application);
  ~DemoWindow();

  GtkWidget* makeSignInPage();
  GtkWidget* makeWaitingPage();
  GtkWidget* makeCallsPage();
  GtkWidget* makeAnswerBox();

  void signIn();
  void signInEnded(const quarnet::Result<quarnet::SignIn>& result);
  void signOut();
  void signOutEnded(const quarnet::Result<quarnet::SignOut>& result);

  void whoAmI();
  void search();
  void choosePicture();
  void pictureChosen(int response);
  void send(quarnet::Call call);
  void answered(const quarnet::Result<quarnet::Answer>& answer);

  /// Shows that something is under way until its outcome is there. One at a time.
  template <class T>
  void work(quarnet::Pending<T> pending, void (DemoWindow::*done)(const quarnet::Result<T>&)) {
    startWorking();
    work_ = std::move(pending).then([this, done](const quarnet::Result<T>& result) {
      stopWorking();
      (this->*done)(result);
    });
  }
  void startWorking();
  void stopWorking();

  void showPage(const char* name);
  /// Says it for a few seconds, or with a reason until it is closed; nothing when the text is
  /// empty.
  void tell(const Message& message);
  void toast(const std::string& text);

  /// Calls an operation of this window on a signal that has no other arguments of interest.
  template <auto operation>
  void on(GtkWidget* widget, const char* signal) {
    g_signal_connect_swapped(widget, signal,
                             G_CALLBACK(+[](DemoWindow* self) { (self->*operation)(); }), this);
  }

  LogPane log_;
  quarnet::Client client_;
  quarnet::Handle signIn_;
  bool isSigningIn_ = false;
  quarnet::Handle work_;
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
  GtkFileChooserNative* chooser_ = nullptr;
  guint pulse_ = 0;
};

} // namespace demo
