#include "quarnet/login/OAuthClient.h"

namespace quarnet {

constinit platform::Rect oldStatusFrame;

std::shared_ptr<OAuthClient> OAuthClient::make() {
  return std::shared_ptr<OAuthClient>(new OAuthClient);
}

OAuthClient::~OAuthClient() {
  if (const auto page = loginView()) page->setDelegate(nullptr);
}

Text OAuthClient::result() const {
  const std::lock_guard lock(mutex_);
  return result_;
}
void OAuthClient::setResult(Text result) {
  const std::lock_guard lock(mutex_);
  result_.swap(result);
}

CallbackTriple OAuthClient::callback() const {
  const std::lock_guard lock(mutex_);
  return callback_;
}
void OAuthClient::setCallback(const CallbackTriple& callback) {
  const std::lock_guard lock(mutex_);
  callback_ = callback;
}

void* OAuthClient::_target() const {
  return callback().target;
}
void OAuthClient::set_target(void* target) {
  const std::lock_guard lock(mutex_);
  callback_.target = target;
}

Operation OAuthClient::_finishedSelector() const {
  return callback().finished;
}
void OAuthClient::set_finishedSelector(Operation finished) {
  const std::lock_guard lock(mutex_);
  callback_.finished = finished;
}

Operation OAuthClient::_failedSelector() const {
  return callback().failed;
}
void OAuthClient::set_failedSelector(Operation failed) {
  const std::lock_guard lock(mutex_);
  callback_.failed = failed;
}

bool OAuthClient::shouldStartLoad(platform::WebView& view, const std::string& url) {
  return webViewShouldStartLoadWithRequestNavigationType(view, url, 0);
}

void OAuthClient::didFailLoad(platform::WebView& view, const platform::WebLoadError& error) {
  webViewDidFailLoadWithError(view, error);
}

void OAuthClient::didFinishLoad(platform::WebView& view) {
  webViewDidFinishLoad(view);
}

} // namespace quarnet
