#include "tests/platform/curl/WireServer.h"
#include "tests/platform/gtk/Screen.h"
#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include "quarnet/login/OAuthClient.h"

#include <algorithm>
#include <fstream>

namespace quarnet::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSignIn = "/oauth/authorize";

std::string contents(const fs::path& file) {
  std::ifstream bytes(file);
  return {std::istreambuf_iterator<char>(bytes), {}};
}

/// The processes that show pages; they lie below helpers of the page engine, so all of the
/// session's are counted.
std::ptrdiff_t pageProcesses() {
  const std::string ours = std::string("HOME=") + g_get_home_dir();
  const fs::directory_iterator all("/proc");
  return std::count_if(begin(all), end(all), [&](const fs::path& process) {
    return contents(process / "comm").starts_with("WebKitWebProces") &&
           contents(process / "environ").find(ours) != std::string::npos;
  });
}

/// The library's login screen on the real toolkit, against the sandbox.
class LoginTest : public test::LibraryTest, protected Screen {
protected:
  void SetUp() override {
    LibraryTest::SetUp();
    toolkit_ = std::make_shared<GtkToolkit>(
        GtkToolkitOptions{.window = window_,
                          .certificateFile = sandbox::Server::caFile(),
                          .certificateHosts = {test::server().host()}});
    use(&Platform::toolkit, toolkit_);
  }
  void TearDown() override {
    manager_.oAuthClient()->closeLoginView();
    EXPECT_TRUE(waitUntil([this] { return !isOpen(); }));
    LibraryTest::TearDown();
  }

  void open() {
    manager_.loginFinishedFailed(&app_, &test::Callbacks::finished, &test::Callbacks::failed);
  }
  void openAndShow() {
    open();
    ASSERT_TRUE(waitUntil([this] { return finishedPages(kSignIn) == 1; }));
  }
  bool isOpen() const { return manager_.oAuthClient()->loginView() != nullptr; }
  /// Waits until the screen has closed; the window shows again what it showed before.
  void expectClosed() {
    EXPECT_TRUE(waitUntil([this] { return !isOpen(); }));
    EXPECT_EQ(gtk_window_get_child(window_), entry_);
    EXPECT_TRUE(gtk_widget_is_sensitive(entry_));
  }

  /// How many lines of the log have that start and, anywhere, that text.
  std::ptrdiff_t lines(const std::string& start, const std::string& text) const {
    const auto written = log_->lines();
    return std::count_if(written.begin(), written.end(), [&](const std::string& line) {
      return line.starts_with(start) && line.find(text) != std::string::npos;
    });
  }
  /// How many pages of an address with that text have finished.
  std::ptrdiff_t finishedPages(const std::string& address) const {
    return lines("요청 완료된 URL", address);
  }
  static std::ptrdiff_t requests(const std::string& path) {
    const auto received = test::server().received();
    return std::count_if(received.begin(), received.end(),
                         [&](const auto& one) { return one.path() == path; });
  }

  test::Callbacks app_;
};

TEST_F(LoginTest, SignInEndsWithStoredTokensAndOneCallback) {
  GtkWidget* const focus = gtk_window_get_focus(window_);
  openAndShow();
  script("username.value = password.value = 'demo'; signin.click()");
  ASSERT_TRUE(waitUntil([this] { return finishedPages("/oauth/consent") == 1; }));
  script("allow.click()");
  ASSERT_TRUE(app_.waitFor(1));
  EXPECT_TRUE(isOpen()) << "it is still shrinking";
  EXPECT_TRUE(app_.heard[0].finished);
  EXPECT_TRUE(test::server().tokenIsLive(stored("access_token").value_or("")));
  expectClosed();
  EXPECT_EQ(gtk_window_get_focus(window_), focus);
  app_.letPass();
  EXPECT_EQ(app_.heard.size(), 1u);
  EXPECT_EQ(requests("/oauth/token"), 1);
}

TEST_F(LoginTest, CloseButtonWorksWhileThePageLoads) {
  test::server().misbehave(kSignIn, sandbox::Misbehaviour::delay(std::chrono::seconds(3)));
  open();
  settle();
  press("Escape"); // while it grows
  expectClosed();
  settle();
  EXPECT_EQ(requests(kSignIn), 0);
  open();
  ASSERT_TRUE(waitUntil([] { return requests(kSignIn) == 1; }));
  click(290, 42); // the button
  expectClosed();
  app_.letPass(std::chrono::milliseconds(3200));
  EXPECT_EQ(finishedPages(kSignIn), 0);
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(LoginTest, WhatIsCoveredTakesNoKeyAndGetsTheFocusBack) {
  GtkWidget* const content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  GtkWidget* const button = gtk_button_new_with_mnemonic("로그인(_S)");
  int pressed = 0;
  g_signal_connect_swapped(button, "clicked", G_CALLBACK(+[](int* count) { ++*count; }), &pressed);
  gtk_box_append(GTK_BOX(content), button);
  gtk_box_append(GTK_BOX(content), gtk_button_new());
  gtk_window_set_child(window_, content);
  gtk_window_set_default_widget(window_, button);
  gtk_widget_grab_focus(button);
  const auto focus = [this] { return gtk_window_get_focus(window_); };

  open();
  for (const char* key : {"Return", "space", "alt+s"})
    press(key);
  ASSERT_TRUE(waitUntil([this] { return finishedPages(kSignIn) == 1; }));
  open();
  press("alt+s");
  ASSERT_TRUE(waitUntil([this] { return finishedPages(kSignIn) == 2; }));
  EXPECT_EQ(focus(), pages().at(1));
  for (GtkWidget* const beneath : {pages().at(0), button}) {
    EXPECT_FALSE(gtk_widget_is_sensitive(beneath));
    const std::size_t open = pages().size();
    press("Escape");
    EXPECT_TRUE(waitUntil([&] { return pages().size() < open; }));
    settle();
    EXPECT_EQ(focus(), beneath);
  }
  EXPECT_EQ(pressed, 0);
  press("alt+s");
  EXPECT_TRUE(waitUntil([&] { return pressed == 1; }));
}

TEST_F(LoginTest, PortalOpensInTheSystemsBrowser) {
  const fs::path opened = fs::path(g_get_user_data_dir()) / "opened"; // by with-display's browser
  const std::string portal =
      "https://" + test::server().host() + "/sso/openPage.do?a=1&b=%ED%95%9C%20;$(x)";
  openAndShow();
  script("location.href = '" + portal + "'");
  ASSERT_TRUE(waitUntil([&] { return fs::exists(opened); }));
  EXPECT_EQ(contents(opened), portal);
  settle();
  EXPECT_EQ(requests("/sso/openPage.do"), 0);
  EXPECT_EQ(finishedPages(""), 1) << "the page stays as it was";
  // Nobody opens this; that is told.
  toolkit_->openExternally("http://" + test::server().host());
  ASSERT_TRUE(waitUntil([] { return alert() != nullptr; }));
  EXPECT_NE(texts(GTK_WIDGET(alert())).find("브라우저가 없습니다"), std::string::npos);
  EXPECT_EQ(lines("Cannot open the browser", ""), 1);
  gtk_window_destroy(alert());
}

TEST_F(LoginTest, NoPageKeepsThePersonIn) {
  const test::WireServer tricks([](const std::string& request) {
    return request.starts_with("GET /tricks.html")
               ? test::answer(pageFile("tricks.html"), "Content-Type: text/html\r\n")
               : test::WireServer::kSilence;
  });
  for (const char* trick : {"alerts", "reloads", "busy", "apps", "keep", "held"}) {
    SCOPED_TRACE(trick);
    log_->clear();
    openAndShow();
    const std::size_t before = tricks.requests().size();
    script("location = '" + tricks.url("/tricks.html?") + trick + "'");
    ASSERT_TRUE(waitUntil([&] { return tricks.requests().size() > before; }));
    settle();
    click(160, 500); // the page, which may be loud only then
    settle();
    click(290, 42); // the button
    expectClosed();
  }
  EXPECT_TRUE(waitUntil([] { return pageProcesses() == 0; }));
}

TEST_F(LoginTest, ManyOpeningsLeaveNoViewAndNoProcess) {
  // The screen opens and closes at once.
  g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
  int views = 0;
  const auto forget = [](gpointer count, GObject*) { --*static_cast<int*>(count); };
  for (int i = 0; i < 200 && !HasFailure(); ++i) {
    log_->clear();
    openAndShow();
    auto shown = boxes();
    shown.erase(shown.begin()); // the layer that holds the others is the window's own
    for (const char* type : {"WebKitWebView", "GtkOverlay", "AdwBin"})
      std::ranges::copy(this->shown(type), std::back_inserter(shown));
    EXPECT_EQ(shown.size(), 9u) << "backdrop, panel, title bar, the page in its layers, what "
                                   "takes the place of the content";
    for (GtkWidget* widget : shown) {
      ++views;
      g_object_weak_ref(G_OBJECT(widget), forget, &views);
    }
    manager_.oAuthClient()->closeLoginView();
    expectClosed();
  }
  EXPECT_TRUE(waitUntil([] { return pageProcesses() == 0; }));
  EXPECT_EQ(views, 0);
  g_object_set(gtk_settings_get_default(), "gtk-enable-animations", TRUE, nullptr);
}

} // namespace
} // namespace quarnet::platform
