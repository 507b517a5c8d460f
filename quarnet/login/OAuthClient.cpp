#include "quarnet/login/OAuthClient.h"

#include "quarnet/core/Registration.h"

namespace quarnet {

constinit platform::Rect oldStatusFrame;

std::shared_ptr<OAuthClient> OAuthClient::make() {
  return std::shared_ptr<OAuthClient>(new OAuthClient);
}

OAuthClient::OAuthClient() : registration_(std::make_shared<Registration>()) {}

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

void* OAuthClient::_target() const {
  return registration_->current().target;
}
void OAuthClient::set_target(void* target) {
  registration_->set(&CallbackTriple::target, target);
}

Operation OAuthClient::_finishedSelector() const {
  return registration_->current().finished;
}
void OAuthClient::set_finishedSelector(Operation finished) {
  registration_->set(&CallbackTriple::finished, finished);
}

Operation OAuthClient::_failedSelector() const {
  return registration_->current().failed;
}
void OAuthClient::set_failedSelector(Operation failed) {
  registration_->set(&CallbackTriple::failed, failed);
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
