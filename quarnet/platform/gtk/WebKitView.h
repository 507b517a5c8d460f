#pragma once

#include "quarnet/platform/gtk/Covered.h"
#include "quarnet/platform/gtk/FrameNode.h"
#include "quarnet/platform/gtk/PageDialog.h"
#include "quarnet/platform/gtk/ServerTrust.h"

#include <memory>
#include <optional>
#include <string>
#include <webkit/webkit.h>

namespace quarnet::platform {

/// A WebKitGTK view with a session of its own in memory, and a thin line along its upper edge that
/// shows how far a page has come.
///
/// Where there is no page to show, a page of ours has "다시 시도" for the address that was loaded
/// or shown last. As long as there is one, it stays, and a notice at its lower edge tells of what
/// did not load. A link for a program of the desktop is handed to the desktop when the user
/// followed it; when the page did so by itself, the notice offers it. What a page asks is shown
/// over it.
class WebKitView final : public FramedView<WebView> {
public:
  WebKitView(WebKitWebContext* context, std::shared_ptr<const ServerTrust> trust);
  ~WebKitView() override;

  void setDelegate(WebViewDelegate* delegate) override { delegate_ = delegate; }
  /// A page that is wider than the view is zoomed out as far as it takes.
  void setScalesPageToFit(bool scales) override { scalesPageToFit_ = scales; }
  /// Nothing to do: pages do not bounce here.
  void setBounces(bool) override {}
  void load(const std::string& url) override;
  Text currentUrl() const override;

private:
  void connectSignals();
  void notePresses();
  gboolean decidePolicy(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type);
  bool mayLoad(WebKitNavigationAction* action);
  void openInPlace(WebKitNavigationAction* action);
  void decideResponse(WebKitPolicyDecision* decision);
  void refuseFile(const std::string& url);
  void loadChanged(WebKitLoadEvent event);
  gboolean loadFailed(const char* url, const GError* error);
  gboolean certificateRefused(const char* url, GTlsCertificate* certificate,
                              GTlsCertificateFlags flags);
  void processTerminated(WebKitWebProcessTerminationReason reason);
  void report(const std::string& url, const std::string& description, const std::string& details);
  void showFailure(const std::string& description);
  void hideFailure();
  void notify(const std::string& text, const std::string& offered = {});
  void endNotice();
  void showDialog(WebKitScriptDialog* dialog);
  GtkWindow* window() const;
  void showProgress();
  void fitPage();

  std::shared_ptr<const ServerTrust> trust_;
  Ref<WebKitNetworkSession> session_;
  Ref<WebKitWebView> page_;
  /// Holds the page, and above it the notice and what the page asks.
  GtkOverlay* layers_;
  GtkWidget* progress_;
  GtkWidget* failure_;
  /// While the failure is shown.
  std::optional<Covered> coveredPage_;
  GtkWidget* notice_ = nullptr;
  /// The address that the notice offers to the desktop.
  std::string offered_;
  std::unique_ptr<PageDialog> dialog_;
  WebViewDelegate* delegate_ = nullptr;
  bool scalesPageToFit_ = false;
  /// Whether the load that is under way was given up; what the page engine says of its end is then
  /// no news.
  bool failed_ = false;
  /// Whether the user has pressed something since a link was handed to the desktop.
  bool pressed_ = false;
  /// The address of the page that is to be seen; empty when there is none.
  std::string shownUrl_;
  std::string retryUrl_;
};

} // namespace quarnet::platform
