#include "quarnet/platform/gtk/GtkToolkit.h"

#include "quarnet/platform/gtk/AlertDialog.h"
#include "quarnet/platform/gtk/DesktopLink.h"
#include "quarnet/platform/gtk/FrameAnimation.h"
#include "quarnet/platform/gtk/HeaderTitleBar.h"
#include "quarnet/platform/gtk/KeyWindow.h"
#include "quarnet/platform/gtk/WebKitView.h"

#include <adwaita.h>
#include <sys/utsname.h>
#include <utility>

namespace quarnet::platform {
namespace {

GtkWindow* activeWindow() {
  GApplication* application = g_application_get_default();
  if (application == nullptr || !GTK_IS_APPLICATION(application)) return nullptr;
  GtkWindow* window = gtk_application_get_active_window(GTK_APPLICATION(application));
  // A dialog stands for the window that it belongs to.
  while (window != nullptr && gtk_window_get_transient_for(window) != nullptr)
    window = gtk_window_get_transient_for(window);
  return window;
}

} // namespace

class GtkToolkit::Implementation {
public:
  explicit Implementation(GtkToolkitOptions options)
      : followsApplication_(options.window == nullptr),
        trust_(std::make_shared<ServerTrust>(options.certificateFile,
                                             std::move(options.certificateHosts))) {
    g_set_weak_pointer(&window_, options.window);
  }
  ~Implementation() { g_clear_weak_pointer(&window_); }

  GtkWindow* window() const { return followsApplication_ ? activeWindow() : window_; }

  std::shared_ptr<WebView> makeWebView() {
    if (!context_) {
      context_ = adopt(webkit_web_context_new());
      // No process waits for the next page, no page for the way back.
      webkit_web_context_set_cache_model(context_.get(), WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
    }
    return std::make_shared<WebKitView>(context_.get(), trust_);
  }

private:
  bool followsApplication_;
  GtkWindow* window_ = nullptr;
  std::shared_ptr<const ServerTrust> trust_;
  Ref<WebKitWebContext> context_;
};

GtkToolkit::GtkToolkit(GtkToolkitOptions options)
    : implementation_(std::make_unique<Implementation>(std::move(options))) {}

GtkToolkit::~GtkToolkit() = default;

std::shared_ptr<View> GtkToolkit::keyWindow() {
  GtkWindow* window = implementation_->window();
  if (window == nullptr) return nullptr;
  adw_init();
  return KeyWindow::of(window);
}

std::shared_ptr<View> GtkToolkit::makeView() {
  return std::make_shared<FramedView<View>>();
}

std::shared_ptr<TitleBar> GtkToolkit::makeTitleBar() {
  return std::make_shared<HeaderTitleBar>();
}

std::shared_ptr<WebView> GtkToolkit::makeWebView() {
  return implementation_->makeWebView();
}

void GtkToolkit::animate(std::chrono::milliseconds duration, std::function<void()> changes,
                         std::function<void(bool finished)> completion) {
  FrameAnimation::run(duration, changes, std::move(completion));
}

void GtkToolkit::showAlert(const std::string& title, const std::string& message,
                           const std::string& button, std::function<void()> pressed) {
  showAlertDialog(implementation_->window(), title, message, button, std::move(pressed));
}

void GtkToolkit::openExternally(const std::string& url) {
  openOnDesktop(implementation_->window(), url);
}

std::string GtkToolkit::systemVersion() {
  if (const Chars version{g_get_os_info(G_OS_INFO_KEY_VERSION_ID)}) return version.get();
  utsname kernel = {};
  return uname(&kernel) == 0 ? kernel.release : "";
}

} // namespace quarnet::platform
