#pragma once

#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include "quarnet/platform/headless/HeadlessToolkit.h"

#include <gmock/gmock.h>

namespace quarnet::test {

using namespace std::chrono_literals;
using platform::HeadlessToolkit;
using platform::HeadlessView;
using platform::HeadlessWebView;
using platform::Rect;
using ::testing::ElementsAre;

/// A library whose login screen opens in a window of 320 x 568 points in memory.
class LoginTest : public LibraryTest {
protected:
  void SetUp() override {
    LibraryTest::SetUp();
    useToolkit(toolkit_);
    client_ = manager_.oAuthClient();
  }

  static void useToolkit(std::shared_ptr<platform::Toolkit> toolkit) {
    use(&platform::Platform::toolkit, std::move(toolkit));
  }

  /// Opens a login screen and gives its page, the authorization page on its way.
  std::shared_ptr<HeadlessWebView> open() {
    client_->loginFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
    toolkit_->advance(500ms);
    return toolkit_->webView();
  }
  std::size_t overlays() const { return toolkit_->window()->children().size(); }
  /// Whether the screen has begun to close, which clears its page.
  bool closing() const { return toolkit_->webView()->loads().back() == "about:blank"; }

  static std::string completionUrl(const std::string& code) {
    return apiUrl("/oauth/access_complete_mobile?code=" + code + "&state=1");
  }
  static std::size_t tokenRequests() {
    const auto received = server().received();
    return static_cast<std::size_t>(
        std::count_if(received.begin(), received.end(),
                      [](const auto& r) { return r.path() == "/oauth/token"; }));
  }

  std::shared_ptr<HeadlessToolkit> toolkit_ = std::make_shared<HeadlessToolkit>();
  std::shared_ptr<OAuthClient> client_;
  Callbacks app_;
};

} // namespace quarnet::test
