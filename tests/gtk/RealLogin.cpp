#include "tests/gtk/RealLogin.h"

#include <algorithm>

namespace quarnet::platform {

void RealLogin::SetUp() {
  LibraryTest::SetUp();
  toolkit_ =
      std::make_shared<GtkToolkit>(GtkToolkitOptions{.window = window_,
                                                     .certificateFile = sandbox::Server::caFile(),
                                                     .certificateHosts = {test::server().host()}});
  Platform services = Platform::current();
  services.toolkit = toolkit_;
  Platform::install(std::move(services));
}

void RealLogin::TearDown() {
  manager_.oAuthClient()->closeLoginView();
  EXPECT_TRUE(waitUntil([this] { return !isOpen(); }));
  LibraryTest::TearDown();
}

void RealLogin::open() {
  manager_.oAuthClient()->loginFinishedFailed(&app_, &test::Callbacks::finished,
                                              &test::Callbacks::failed);
}

bool RealLogin::windowIsAsBefore() const {
  return gtk_window_get_child(window_) == entry_ && gtk_widget_get_can_focus(entry_);
}

std::size_t RealLogin::lines(const std::string& start, const std::string& text) const {
  const auto written = log_->lines();
  return static_cast<std::size_t>(
      std::count_if(written.begin(), written.end(), [&](const std::string& line) {
        return line.starts_with(start) && line.find(text) != std::string::npos;
      }));
}

std::size_t RealLogin::requests(const std::string& path) {
  const auto received = test::server().received();
  return static_cast<std::size_t>(std::count_if(
      received.begin(), received.end(), [&](const auto& one) { return one.path() == path; }));
}

void RealLogin::script(const std::string& text) {
  const auto pages = widgets(GTK_WIDGET(window_), "WebKitWebView");
  ASSERT_FALSE(pages.empty());
  webkit_web_view_evaluate_javascript(WEBKIT_WEB_VIEW(pages.back()), text.c_str(), -1, nullptr,
                                      nullptr, nullptr, nullptr, nullptr);
}

} // namespace quarnet::platform
