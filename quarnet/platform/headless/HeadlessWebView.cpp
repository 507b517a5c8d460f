#include "quarnet/platform/headless/HeadlessWebView.h"

namespace quarnet::platform {

bool HeadlessWebView::navigate(const std::string& url) {
  if (delegate_ != nullptr && !delegate_->shouldStartLoad(*this, url)) {
    vetoes_.push_back(url);
    return false;
  }
  loads_.push_back(url);
  currentUrl_ = url;
  return true;
}

void HeadlessWebView::finish(const std::string& url) {
  currentUrl_ = url;
  if (delegate_ != nullptr) delegate_->didFinishLoad(*this);
}

void HeadlessWebView::fail(const WebLoadError& error) {
  if (delegate_ != nullptr) delegate_->didFailLoad(*this, error);
}

} // namespace quarnet::platform
