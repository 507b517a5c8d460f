#include "tests/gtk/RealLogin.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace quarnet::platform {
namespace {

constexpr const char* kSignIn = "/oauth/authorize";
constexpr const char* kEnterPassword = "username.value = password.value = 'demo'; signin.click()";

class LoginTest : public RealLogin {
protected:
  void openAndShow() {
    open();
    ASSERT_TRUE(waitUntil([this] { return finishedPages(kSignIn) == 1; }));
  }
  void pressCloseButton() { click(290, 42); }
};

TEST_F(LoginTest, SignInEndsWithStoredTokensAndOneCallback) {
  GtkWidget* const focus = gtk_window_get_focus(window_);
  openAndShow();
  EXPECT_FALSE(windowIsAsBefore());
  script(kEnterPassword);
  ASSERT_TRUE(waitUntil([this] { return finishedPages("/oauth/consent") == 1; }));
  script("allow.click()");
  ASSERT_TRUE(app_.waitFor(1));
  EXPECT_TRUE(isOpen()) << "it is still shrinking";
  EXPECT_TRUE(app_.heard[0].finished);
  EXPECT_TRUE(test::server().tokenIsLive(stored("access_token").value_or("")));
  ASSERT_TRUE(waitUntil([this] { return !isOpen(); }));
  EXPECT_TRUE(windowIsAsBefore());
  EXPECT_EQ(gtk_window_get_focus(window_), focus);
  app_.letPass();
  EXPECT_EQ(app_.heard.size(), 1u);
  EXPECT_EQ(requests("/oauth/token"), 1u);
}

TEST_F(LoginTest, RefusalIsShownAndCallsNothing) {
  openAndShow();
  script("cancel.click()");
  ASSERT_TRUE(waitUntil([] { return alert() != nullptr; }));
  EXPECT_STREQ(adw_message_dialog_get_heading(ADW_MESSAGE_DIALOG(alert())), "access_denied");
  EXPECT_STREQ(adw_message_dialog_get_body(ADW_MESSAGE_DIALOG(alert())),
               "User denied the request.");
  settle();
  EXPECT_TRUE(isOpen());
  press("Return");
  ASSERT_TRUE(waitUntil([this] { return !isOpen(); }));
  EXPECT_TRUE(windowIsAsBefore());
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(LoginTest, CloseButtonWorksWhileThePageLoads) {
  test::server().misbehave(kSignIn, sandbox::Misbehaviour::parse("delay", "3000"));
  open();
  ASSERT_TRUE(waitUntil([] { return requests(kSignIn) == 1; }));
  pressCloseButton();
  ASSERT_TRUE(waitUntil([this] { return !isOpen(); }));
  EXPECT_TRUE(windowIsAsBefore());
  app_.letPass(std::chrono::milliseconds(3200));
  EXPECT_EQ(finishedPages(kSignIn), 0u);
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(LoginTest, PageThatDoesNotLoadCanBeTriedAgain) {
  test::server().misbehave(kSignIn, sandbox::Misbehaviour::parse("reset", ""));
  open();
  ASSERT_TRUE(waitUntil([this] { return lines("웹뷰 로딩 에러", kSignIn) == 1; }));
  settle();
  GtkWidget* const failure = widgets(GTK_WIDGET(window_), "AdwStatusPage").at(0);
  EXPECT_TRUE(gtk_widget_get_mapped(failure));
  EXPECT_TRUE(isOpen());
  EXPECT_TRUE(app_.heard.empty());
  test::server().behave();
  g_signal_emit_by_name(widgets(failure, "GtkButton").at(0), "clicked");
  ASSERT_TRUE(waitUntil([this] { return finishedPages(kSignIn) == 1; }));
  EXPECT_FALSE(gtk_widget_get_mapped(failure));
}

TEST_F(LoginTest, SecondOneLiesOnTopAndLeavesTheFirst) {
  openAndShow();
  const auto first = manager_.oAuthClient()->loginView();
  open();
  ASSERT_TRUE(waitUntil([this] { return finishedPages(kSignIn) == 2; }));
  EXPECT_NE(manager_.oAuthClient()->loginView(), first);
  EXPECT_EQ(widgets(GTK_WIDGET(window_), "WebKitWebView").size(), 2u);
  pressCloseButton();
  ASSERT_TRUE(waitUntil([this] { return !isOpen(); }));
  EXPECT_EQ(widgets(GTK_WIDGET(window_), "WebKitWebView").size(), 1u);
  EXPECT_NE(first->currentUrl().value_or("").find(kSignIn), std::string::npos);
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(LoginTest, PortalOpensInTheSystemsBrowser) {
  const std::filesystem::path data = g_get_user_data_dir();
  const std::filesystem::path opened = data / "opened";
  std::filesystem::create_directories(data / "applications");
  std::ofstream(data / "browser") << "#!/bin/sh\nprintf %s \"$1\" > " << opened.string()
                                  << ".part\n"
                                  << "mv " << opened.string() << ".part " << opened.string()
                                  << "\n";
  std::filesystem::permissions(data / "browser", std::filesystem::perms::owner_all);
  std::ofstream(data / "applications/browser.desktop")
      << "[Desktop Entry]\nType=Application\nName=Browser\nExec=" << (data / "browser").string()
      << " %u\nMimeType=x-scheme-handler/https;\n";
  std::ofstream(std::filesystem::path(g_get_user_config_dir()) / "mimeapps.list")
      << "[Default Applications]\nx-scheme-handler/https=browser.desktop\n";

  openAndShow();
  const std::string portal =
      "https://" + test::server().host() + "/sso/openPage.do?a=1&b=%ED%95%9C%20;$(x)";
  script("location.href = '" + portal + "'");
  ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(opened); }));
  std::stringstream address;
  address << std::ifstream(opened).rdbuf();
  EXPECT_EQ(address.str(), portal);
  settle();
  EXPECT_EQ(requests("/sso/openPage.do"), 0u);
  EXPECT_TRUE(isOpen());
  EXPECT_EQ(finishedPages(""), 1u) << "the page stays as it was";
  // Nobody opens this; that is a line in the log and nothing else.
  toolkit_->openExternally("no address at all");
  EXPECT_TRUE(waitUntil([this] { return lines("Cannot open the browser", "") == 1; }));
}

} // namespace
} // namespace quarnet::platform
