#include "tools/login/SignIn.h"

#include "tools/Command.h"
#include "tools/Terminal.h"
#include "tools/TokenAnswers.h"

#include "quarnet/login/OAuthClient.h"
#include "quarnet/platform/glib/GlibMainThread.h"
#include "quarnet/platform/gtk/GtkToolkit.h"

namespace quarnet::tools {
namespace {

OAuthInfoManager& manager() {
  return OAuthInfoManager::sharedInstance();
}

Text token() {
  return manager().oAuthInfo().accessToken();
}

bool screenIsOpen() {
  return manager().oAuthClient()->loginView() != nullptr;
}

std::string missingDisplay() {
  for (const char* variable : {"WAYLAND_DISPLAY", "DISPLAY"}) {
    const char* display = g_getenv(variable);
    if (display != nullptr && *display != '\0')
      return "the display " + excerpt(display) + " (" + variable + ") cannot be opened";
  }
  return "neither WAYLAND_DISPLAY nor DISPLAY is set";
}

/// What the authorization server said about its refusal; empty when it said nothing.
std::string refusal() {
  const Text escaped = manager().errorDesc();
  if (!escaped) return {};
  char* text = g_uri_unescape_string(escaped->c_str(), nullptr);
  const std::string description = text == nullptr ? *escaped : text;
  g_free(text);
  return excerpt(description);
}

} // namespace

SignIn::~SignIn() {
  if (window_ != nullptr) gtk_window_destroy(window_);
  g_clear_weak_pointer(&window_);
}

int SignIn::run() {
  if (!settings_.hasClientId() || !settings_.hasClientSecret()) return kFailed;
  if (!gtk_init_check()) {
    tell("cannot sign in: the login window takes a display, and " + missingDisplay());
    return kFailed;
  }
  makeWindow();
  setUp();
  const Text former = token();
  // Tokens that can be reissued are, without a callback and without a screen.
  manager().loginFinishedFailed(this, &SignIn::finished, &SignIn::failed);
  if (!screenIsOpen()) return report(former, "Signed in already: the tokens were reissued.");
  if (isPresent(former)) tell("the stored tokens were not reissued; " + http_->outcome());
  showScreen();
  return report(former, "Signed in: the tokens are stored.");
}

void SignIn::makeWindow() {
  g_set_weak_pointer(&window_, GTK_WINDOW(gtk_window_new()));
  gtk_window_set_title(window_, "Quarnet");
  gtk_window_set_default_size(window_, 420, 700);
}

void SignIn::setUp() {
  http_ = std::make_shared<ObservedHttpClient>(settings_.makeHttpClient());
  settings_.install(http_, std::make_shared<platform::GtkToolkit>(
                               platform::GtkToolkitOptions{.window = window_,
                                                           .certificateFile = settings_.caFile(),
                                                           .certificateHosts = settings_.hosts()}));
  // A scope that nobody named is left to the server.
  if (!manager().scope()) manager().setScope("");
}

void SignIn::showScreen() {
  gtk_window_present(window_);
  constexpr std::chrono::hours kAsLongAsItTakes(24 * 365);
  platform::GlibMainThread::runUntil([this] { return isOver(); }, kAsLongAsItTakes);
}

bool SignIn::isOver() const {
  // Nobody is called back when the user closes the screen, or the window with it.
  return failed_ || window_ == nullptr || !screenIsOpen();
}

int SignIn::report(const Text& formerToken, const std::string& success) const {
  // The record tells more than the callbacks: it has changed before any of them.
  if (finished_ || token() != formerToken) {
    if (!settings_.storeIsSound()) return kFailed;
    if (isPresent(token())) {
      printLine(success);
      return kDone;
    }
    tell("not signed in: an answer without tokens has taken the place of what was stored; " +
         http_->outcome());
  } else if (failed_) {
    tell("not signed in: " + http_->outcome());
  } else if (const std::string reason = refusal(); !reason.empty()) {
    tell("not signed in: the server refused: " + reason);
  } else {
    tell("not signed in: the window was closed before the end" +
         (http_->isDelivered() ? "; " + http_->outcome() : std::string()));
  }
  return kFailed;
}

void SignIn::finished(const ResultDictionary&) {
  finished_ = true;
}

void SignIn::failed(const ResultDictionary&) {
  failed_ = true;
}

} // namespace quarnet::tools
