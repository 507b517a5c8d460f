#include "tools/login/LoginWindow.h"

#include "tools/Command.h"
#include "tools/MainLoop.h"
#include "tools/Terminal.h"

#include "quarnet/platform/gtk/GtkToolkit.h"

namespace quarnet::tools {
namespace {

std::string missingDisplay() {
  for (const char* variable : {"WAYLAND_DISPLAY", "DISPLAY"}) {
    const char* display = g_getenv(variable);
    if (display != nullptr && *display != '\0')
      return "the display " + excerpt(display) + " (" + variable + ") cannot be opened";
  }
  return "neither WAYLAND_DISPLAY nor DISPLAY is set";
}

/// "code: text", or what there is of the two.
std::string reasonOf(const SignIn& end) {
  return excerpt(end.code.empty() || end.text.empty() ? end.code + end.text
                                                      : end.code + ": " + end.text);
}

int notSignedIn(ExitCode code, const std::string& why) {
  tell("not signed in: " + why);
  return code;
}

/// Says how the sign-in ended.
int report(const Result<SignIn>& result) {
  if (!result) {
    return notSignedIn(kFailed, excerpt(result.error().description()) +
                                    "; the stored tokens stay as they were");
  }
  switch (result->ending) {
  case SignIn::Ending::Done:
    printLine("Signed in: the tokens are stored.");
    return kDone;
  case SignIn::Ending::Continued:
    printLine("Signed in already: the tokens were reissued.");
    return kDone;
  case SignIn::Ending::Closed:
    return notSignedIn(kClosedByUser, "the window was closed before the end");
  case SignIn::Ending::Refused:
    return notSignedIn(kRefusedByServer, "refused: " + reasonOf(*result));
  case SignIn::Ending::ExchangeFailed:
    return notSignedIn(kExchangeFailed, "the code was not exchanged: " + reasonOf(*result));
  case SignIn::Ending::NoScreen:
    break;
  }
  return notSignedIn(kFailed, reasonOf(*result));
}

} // namespace

LoginWindow::LoginWindow(Settings& settings) : settings_(settings) {}

LoginWindow::~LoginWindow() {
  if (window_ != nullptr) gtk_window_destroy(window_);
  g_clear_weak_pointer(&window_);
}

int LoginWindow::run() {
  if (!settings_.hasClientId() || !settings_.hasClientSecret()) return kFailed;
  if (!gtk_init_check()) {
    tell("cannot sign in: the login window takes a display, and " + missingDisplay());
    return kFailed;
  }
  makeWindow();
  if (!setUp()) return kFailed;
  Client client;
  const Handle observer = client.onSession([](SessionEvent event) {
    if (event == SessionEvent::SessionLost)
      tell("the stored tokens were not reissued: the server does not take them any more");
  });
  const auto result = outcomeOf(client.signIn());
  if (!result) return interrupted();
  // Tokens that are not in the store are gone with this process.
  if (!settings_.storeIsSound()) return kFailed;
  return report(*result);
}

void LoginWindow::makeWindow() {
  g_set_weak_pointer(&window_, GTK_WINDOW(gtk_window_new()));
  gtk_window_set_title(window_, "Quarnet");
  gtk_window_set_default_size(window_, 420, 700);
  // It is to be seen once the login screen lies in it: a stored session needs no window.
  const auto present = +[](GtkWindow* window) {
    if (gtk_window_get_child(window) != nullptr) gtk_window_present(window);
  };
  g_signal_connect(window_, "notify::child", G_CALLBACK(present), nullptr);
}

bool LoginWindow::setUp() {
  const bool isInstalled = settings_.install(std::make_shared<platform::GtkToolkit>(
      platform::GtkToolkitOptions{.window = window_,
                                  .certificateFile = settings_.caFile(),
                                  .certificateHosts = settings_.hosts()}));
  if (!isInstalled) return false;
  // A scope that nobody named is left to the server.
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  if (!manager.scope()) manager.setScope("");
  return true;
}

} // namespace quarnet::tools
