#pragma once

#include "quarnet/platform/Toolkit.h"

#include <memory>
#include <string>
#include <vector>

typedef struct _GtkWindow GtkWindow;

namespace quarnet::platform {

/// How a GtkToolkit is set up; every default is what an application wants that talks to the real
/// servers.
struct GtkToolkitOptions {
  /// The window that the login lies over; null for the active window of the default GtkApplication.
  /// Not owned; once it is destroyed there is no key window.
  GtkWindow* window = nullptr;
  /// A PEM file of certificate authorities, or of self-made server certificates, that vouch for
  /// `certificateHosts` when the system's own do not; empty for none.
  std::string certificateFile = {};
  /// The hosts, each with its port unless that is 443 ("127.0.0.1:8443"), that `certificateFile`
  /// may vouch for. Every other certificate is checked as usual, and so are these hosts' names.
  std::vector<std::string> certificateHosts = {};
};

/// The screen on GTK 4, libadwaita and WebKitGTK. Of the main thread alone.
///
/// Make it at any time; GTK must be initialised before its first use, which gives the application
/// libadwaita's look. The key window is a GtkWindow, AdwWindow or AdwApplicationWindow. While views
/// lie over it, only the topmost takes input, and nothing beneath is shown to assistive technology.
/// The bounds stay what they were: in a larger window the views keep to the middle and the rest is
/// dimmed, in a smaller one they are shown smaller as a whole. Buttons of the window itself (close
/// and so on) that are covered with the content lie above the views meanwhile, in 20 points at the
/// upper edge.
///
/// What reaches below the window is cut off at its edge, so that the end of a page is in reach.
///
/// Each web view has a session of its own that is kept in memory only: nothing of one login is left
/// for the next. Escape presses the title bar's button. A link that the desktop has a program for
/// ("mailto:") is handed to it when the user follows it; the page stays.
class QUARNET_EXPORT GtkToolkit final : public Toolkit {
public:
  /// GTK need not be initialised yet.
  explicit GtkToolkit(GtkToolkitOptions options = {});
  ~GtkToolkit() override;

  std::shared_ptr<View> keyWindow() override;
  std::shared_ptr<View> makeView() override;
  std::shared_ptr<TitleBar> makeTitleBar() override;
  std::shared_ptr<WebView> makeWebView() override;

  /// Without animation where the desktop asks for reduced motion or nothing is to be seen; a
  /// movement that a later one takes over is cut short. `completion` never runs inside this call.
  void animate(std::chrono::milliseconds duration, std::function<void()> changes,
               std::function<void(bool finished)> completion) override;
  void showAlert(const std::string& title, const std::string& message, const std::string& button,
                 std::function<void()> pressed) override;
  void openExternally(const std::string& url) override;

  /// The distribution's version, or the kernel's where the distribution has none.
  std::string systemVersion() override;

private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

} // namespace quarnet::platform
