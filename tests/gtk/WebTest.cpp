#include "tests/gtk/PageServer.h"
#include "tests/gtk/Screen.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <webkit/webkit.h>

namespace quarnet::platform {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Allows every address that does not hold `vetoed_`, and keeps what it hears.
class Listener final : public WebViewDelegate {
public:
  bool shouldStartLoad(WebView&, const std::string& url) override {
    asked.push_back(url);
    return vetoed.empty() || url.find(vetoed) == std::string::npos;
  }
  void didFailLoad(WebView&, const WebLoadError& error) override { failed.push_back(error); }
  void didFinishLoad(WebView& view) override { finished.push_back(view.currentUrl().value_or("")); }

  std::string vetoed;
  std::vector<std::string> asked;
  std::vector<std::string> finished;
  std::vector<WebLoadError> failed;
};

class WebTest : public testing::Test, protected Screen {
protected:
  void show(GtkToolkitOptions options = {}) {
    options.window = window_;
    toolkit_ = std::make_shared<GtkToolkit>(options);
    view_ = toolkit_->makeWebView();
    view_->setDelegate(&listener_);
    view_->setScalesPageToFit(true);
    view_->setFrame({0, 44, 320, 504});
    toolkit_->keyWindow()->addSubview(view_);
  }
  ~WebTest() override {
    if (view_) view_->removeFromSuperview();
  }

  /// Loads the address and waits for the end that it comes to.
  void load(const std::string& url) {
    const std::size_t before = listener_.finished.size() + listener_.failed.size();
    view_->load(url);
    ASSERT_TRUE(waitUntil([&] {
      return listener_.finished.size() + listener_.failed.size() > before;
    })) << url;
    settle();
  }

  WebKitWebView* page() {
    return WEBKIT_WEB_VIEW(widgets(GTK_WIDGET(window_), "WebKitWebView").at(0));
  }

  Listener listener_;
  std::shared_ptr<WebView> view_;
};

TEST_F(WebTest, EveryNavigationIsJudgedRedirectsIncluded) {
  PageServer server({{"/start", {.body = "", .status = 302, .location = "/next"}},
                     {"/next", {.body = "<title>안녕</title>"}},
                     {"/away", {.body = "", .status = 302, .location = "/sso/openPage.do?x=1"}},
                     {"/sso/openPage.do", {.body = "never"}},
                     {"/blank", {.body = "<a id=a target=_blank href=/next>link</a>"}}});
  show();
  EXPECT_EQ(view_->currentUrl(), std::nullopt);
  load(server.url("/start"));
  EXPECT_THAT(listener_.asked, ElementsAre(server.url("/start"), server.url("/next")));
  EXPECT_THAT(listener_.finished, ElementsAre(server.url("/next")));

  listener_ = {};
  listener_.vetoed = "/sso/openPage.do";
  view_->load(server.url("/away"));
  ASSERT_TRUE(waitUntil([&] { return listener_.asked.size() == 2; }));
  settle();
  EXPECT_EQ(listener_.asked.back(), server.url("/sso/openPage.do?x=1"));
  EXPECT_EQ(server.requests("/sso/openPage.do"), 0);
  EXPECT_THAT(listener_.finished, IsEmpty());
  EXPECT_THAT(listener_.failed, IsEmpty()) << "what was vetoed did not fail";

  // A vetoed link leaves the page as it is; a link that wants a window of its own stays in this
  // one.
  load(server.url("/blank"));
  listener_ = {};
  webkit_web_view_evaluate_javascript(page(), "document.getElementById('a').click()", -1, nullptr,
                                      nullptr, nullptr, nullptr, nullptr);
  ASSERT_TRUE(waitUntil([&] { return !listener_.finished.empty(); }));
  EXPECT_THAT(listener_.asked, ElementsAre(server.url("/next")));
  EXPECT_THAT(listener_.finished, ElementsAre(server.url("/next")));
}

TEST_F(WebTest, BlankPageLoadsWithItsQuery) {
  show();
  load("about:blank");
  load("about:blank?access_complete_mobile&code=abc");
  EXPECT_THAT(listener_.finished,
              ElementsAre("about:blank", "about:blank?access_complete_mobile&code=abc"));
}

TEST_F(WebTest, WhatDoesNotLoadIsReportedAndNeverFinishes) {
  PageServer server({{"/archive", {.body = "PK", .type = "application/zip"}},
                     {"/nothing", {.body = "", .status = 204}}});
  const std::string gone = PageServer({}).url("/");
  show();
  const struct {
    std::string url;
    const char* description;
  } cases[] = {
      {gone + "?access_complete_mobile&code=abc", ""},
      {"http://name.invalid/", ""},
      {"oauths://host/x", ""},
      {"no address at all", ""},
      {server.url("/archive"), "보여 줄 수 없는 형식입니다."},
  };
  for (const auto& [url, description] : cases) {
    SCOPED_TRACE(url);
    listener_ = {};
    load(url);
    EXPECT_THAT(listener_.finished, IsEmpty());
    ASSERT_EQ(listener_.failed.size(), 1u);
    EXPECT_THAT(listener_.failed[0].description, Not(IsEmpty()));
    EXPECT_THAT(listener_.failed[0].description, HasSubstr(description));
    EXPECT_THAT(listener_.failed[0].userInfo, HasSubstr(url.substr(0, 8)));
    EXPECT_TRUE(gtk_widget_get_mapped(widgets(GTK_WIDGET(window_), "AdwStatusPage").at(0)));
  }
  // An answer without content leaves everything as it is.
  listener_ = {};
  view_->load(server.url("/nothing"));
  ASSERT_TRUE(waitUntil([&] { return server.requests("/nothing") == 1; }));
  settle();
  EXPECT_THAT(listener_.finished, IsEmpty());
  EXPECT_THAT(listener_.failed, IsEmpty());
  // A page that was not found is a page all the same.
  listener_ = {};
  load(server.url("/missing"));
  EXPECT_THAT(listener_.finished, ElementsAre(server.url("/missing")));
  EXPECT_FALSE(gtk_widget_get_mapped(widgets(GTK_WIDGET(window_), "AdwStatusPage").at(0)));
}

TEST_F(WebTest, CrashedPageIsReported) {
  show();
  load("about:blank");
  webkit_web_view_terminate_web_process(page());
  ASSERT_TRUE(waitUntil([&] { return !listener_.failed.empty(); }));
  EXPECT_THAT(listener_.failed[0].description, HasSubstr("중단되었습니다"));
  load("about:blank");
  EXPECT_EQ(listener_.finished.size(), 2u) << "another page can be shown afterwards";
}

TEST_F(WebTest, OnlyTheNamedHostsCertificateIsAccepted) {
  const std::string folder = g_get_user_data_dir();
  const std::string own = makeCertificate(folder, "own");
  const std::string other = makeCertificate(folder, "other");
  PageServer server({{"/", {.body = "secret"}}}, own);
  const struct {
    const char* what;
    std::string file;
    std::vector<std::string> hosts;
    bool loads;
  } cases[] = {
      {"nothing is vouched for", "", {}, false},
      {"another certificate", other, {server.host()}, false},
      {"no host", own, {}, false},
      {"another port", own, {"127.0.0.1:443", "127.0.0.1"}, false},
      {"no such file", folder + "/missing.pem", {server.host()}, false},
      {"the server's own", own, {server.host()}, true},
  };
  for (const auto& [what, file, hosts, loads] : cases) {
    SCOPED_TRACE(what);
    listener_ = {};
    show({.certificateFile = file, .certificateHosts = hosts});
    load(server.url("/"));
    EXPECT_EQ(listener_.finished.size(), loads ? 1u : 0u);
    ASSERT_EQ(listener_.failed.size(), loads ? 0u : 1u);
    if (!loads) {
      EXPECT_THAT(listener_.failed[0].description, HasSubstr("인증서"));
    }
    EXPECT_EQ(server.requests("/"), loads ? 1 : 0) << "nothing was sent to a server in doubt";
    view_->removeFromSuperview();
  }
}

TEST_F(WebTest, NothingOfOneLoginIsLeftForTheNext) {
  PageServer server({{"/", {.body = "page"}}});
  show();
  load(server.url("/"));
  load(server.url("/"));
  EXPECT_EQ(server.cookie(), "signed-in=yes");
  view_->removeFromSuperview();
  show();
  load(server.url("/"));
  EXPECT_EQ(server.cookie(), "");
}

TEST_F(WebTest, WidePageIsZoomedOut) {
  PageServer server({{"/wide", {.body = "<body style='margin:0'><div style='width:640px'>wide"}},
                     {"/narrow", {.body = "narrow"}}});
  show();
  load(server.url("/wide"));
  EXPECT_TRUE(waitUntil([&] { return webkit_web_view_get_zoom_level(page()) == 0.5; }))
      << webkit_web_view_get_zoom_level(page());
  load(server.url("/narrow"));
  settle();
  EXPECT_EQ(webkit_web_view_get_zoom_level(page()), 1);
}

TEST_F(WebTest, EscapeClosesAlsoFromWithinThePage) {
  PageServer server({{"/",
                      {.body = "<input autofocus onkeydown='event.stopPropagation();"
                               "event.preventDefault()'>"}}});
  show();
  int closed = 0;
  const auto bar = toolkit_->makeTitleBar();
  bar->setRightButton("닫기", [&] { ++closed; });
  bar->setFrame({0, 0, 320, 44});
  toolkit_->keyWindow()->addSubview(bar);
  load(server.url("/"));
  click(160, 200);
  EXPECT_EQ(gtk_window_get_focus(window_), GTK_WIDGET(page()));
  press("Escape");
  EXPECT_TRUE(waitUntil([&] { return closed == 1; }));
  bar->removeFromSuperview();
}

} // namespace
} // namespace quarnet::platform
