#pragma once

#include "quarnet/platform/headless/HeadlessView.h"

#include <string>
#include <vector>

namespace quarnet::platform {

/// A web view that loads nothing: a test says where the user goes and which pages arrive.
class QUARNET_EXPORT HeadlessWebView final : public HeadlessViewAs<WebView> {
public:
  /// White, like a page without a colour of its own.
  explicit HeadlessWebView(std::shared_ptr<const HeadlessClock> clock)
      : HeadlessViewAs(std::move(clock)) {
    backgroundColor_ = {1, 1, 1, 1};
  }

  /// What a link, a form or a redirect does: asks the delegate. Whether the address is being loaded
  /// now; without a delegate it always is.
  bool navigate(const std::string& url);
  /// The page at `url` has arrived, without the delegate having been asked.
  void finish(const std::string& url);
  /// The page on its way has not arrived.
  void fail(const WebLoadError& error);

  /// Every address whose load was begun, by load() or by navigate().
  const std::vector<std::string>& loads() const { return loads_; }
  /// Every address that the delegate refused.
  const std::vector<std::string>& vetoes() const { return vetoes_; }
  /// Null when there is none or the view was told to forget it.
  WebViewDelegate* delegate() const { return delegate_; }
  /// False until it is set.
  bool scalesPageToFit() const { return scalesPageToFit_; }
  /// True until it is set.
  bool bounces() const { return bounces_; }

  void setDelegate(WebViewDelegate* delegate) override { delegate_ = delegate; }
  void setScalesPageToFit(bool scales) override { scalesPageToFit_ = scales; }
  void setBounces(bool bounces) override { bounces_ = bounces; }
  void load(const std::string& url) override { navigate(url); }
  Text currentUrl() const override { return currentUrl_; }

private:
  WebViewDelegate* delegate_ = nullptr;
  bool scalesPageToFit_ = false;
  bool bounces_ = true;
  Text currentUrl_;
  std::vector<std::string> loads_;
  std::vector<std::string> vetoes_;
};

} // namespace quarnet::platform
