#pragma once

#include "quarnet/platform/gtk/Covered.h"
#include "quarnet/platform/gtk/FrameNode.h"
#include "quarnet/platform/gtk/ServerTrust.h"

#include <memory>
#include <optional>
#include <string>
#include <webkit/webkit.h>

namespace quarnet::platform {

/// A WebKitGTK view with a session of its own in memory, a thin line along its upper edge that
/// shows how far a page has come, and a page of ours with "다시 시도" where one did not load.
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
  gboolean decidePolicy(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type);
  void decideNavigation(WebKitPolicyDecision* decision);
  void decideResponse(WebKitPolicyDecision* decision);
  void loadChanged(WebKitLoadEvent event);
  gboolean loadFailed(const char* url, const GError* error);
  gboolean certificateRefused(const char* url, GTlsCertificate* certificate,
                              GTlsCertificateFlags flags);
  void processTerminated(WebKitWebProcessTerminationReason reason);
  void report(const std::string& url, const std::string& description, const std::string& details);
  void showFailure(const std::string& description);
  void hideFailure();
  void showProgress();
  void fitPage();

  std::shared_ptr<const ServerTrust> trust_;
  Ref<WebKitNetworkSession> session_;
  Ref<WebKitWebView> page_;
  GtkWidget* progress_;
  GtkWidget* failure_;
  /// While the failure is shown.
  std::optional<Covered> coveredPage_;
  WebViewDelegate* delegate_ = nullptr;
  bool scalesPageToFit_ = false;
  /// Whether the load that is under way was given up; what the page engine says of its end is then
  /// no news.
  bool failed_ = false;
  std::string failedUrl_;
};

} // namespace quarnet::platform
