#include "sandbox/Server.h"
#include "tests/platform/curl/WireServer.h"
#include "tests/platform/gtk/Screen.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>

namespace quarnet::platform {
namespace {

namespace fs = std::filesystem;

using test::answer;
using test::WireServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::string page(const std::string& html, const std::string& fields = {}) {
  return answer(html, "Content-Type: text/html; charset=utf-8\r\n" + fields);
}

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

  /// Loads the page of hostile tricks.
  void loadTricks(const std::string& which = {}) {
    pages_["/tricks.html"] = page(pageFile("tricks.html"));
    pages_["/plain.html"] = page(pageFile("plain.html"));
    pages_["/archive.zip"] = answer("PK", "Content-Type: application/zip\r\n");
    pages_["/held"] = WireServer::kSilence;
    load(server_.url("/tricks.html" + which));
    listener_ = {};
  }
  std::string title() { return webkit_web_view_get_title(WEBKIT_WEB_VIEW(pages().at(0))); }
  bool shows(const std::string& text) {
    return texts(GTK_WIDGET(window_)).find(text) != std::string::npos;
  }

  std::string lastRequest() const { return server_.requests().back(); }

  /// Whole answers by path; there is nothing else on the server.
  std::map<std::string, std::string> pages_;
  WireServer server_{[this](const std::string& request) {
    const auto known = pages_.find(request.substr(4, request.find_first_of(" ?", 4) - 4));
    return known == pages_.end() ? answer("", "", "404 Not Found") : known->second;
  }};
  Listener listener_;
  std::shared_ptr<WebView> view_;
};

TEST_F(WebTest, EveryNavigationIsJudgedRedirectsIncluded) {
  pages_ = {{"/start", answer("", "Location: /next\r\n", "302 Found")},
            {"/next", page("<title>안녕</title>")},
            {"/away", answer("", "Location: /sso/openPage.do?x=1\r\n", "302 Found")}};
  show();
  EXPECT_EQ(view_->currentUrl(), std::nullopt);
  load(server_.url("/start"));
  EXPECT_THAT(listener_.asked, ElementsAre(server_.url("/start"), server_.url("/next")));
  EXPECT_THAT(listener_.finished, ElementsAre(server_.url("/next")));

  listener_ = {};
  listener_.vetoed = "/sso/openPage.do";
  view_->load(server_.url("/away"));
  ASSERT_TRUE(waitUntil([&] { return listener_.asked.size() == 2; }));
  settle();
  EXPECT_EQ(listener_.asked.back(), server_.url("/sso/openPage.do?x=1"));
  EXPECT_THAT(lastRequest(), StartsWith("GET /away "));
  EXPECT_THAT(listener_.finished, IsEmpty());
  EXPECT_THAT(listener_.failed, IsEmpty()) << "what was vetoed did not fail";
}

TEST_F(WebTest, WhatDoesNotLoadIsReportedAndNeverFinishes) {
  pages_ = {{"/archive", answer("PK", "Content-Type: application/zip\r\n")},
            {"/loop", answer("", "Location: /loop\r\n", "302 Found")},
            {"/nothing", "HTTP/1.1 204 No Content\r\nContent-Type: application/zip\r\n\r\n"}};
  const std::string gone = WireServer([](int) {}).url();
  show();
  const std::pair<std::string, const char*> cases[] = {
      {gone + "?access_complete_mobile&code=abc", ""},
      {"http://name.invalid/", ""},
      {"oauths://host/x", ""},
      {"no address at all", ""},
      {server_.url("/archive"), "보여 줄 수 없는 형식입니다."},
      {server_.url("/nothing"), "빈 답"},
      {server_.url("/loop"), ""},
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
    EXPECT_TRUE(gtk_widget_get_mapped(failure()));
    EXPECT_EQ(gtk_window_get_focus(window_), widgets(failure(), "GtkButton").at(0));
    EXPECT_FALSE(gtk_widget_is_sensitive(pages().at(0)));
  }
  // It can be tried again.
  load(server_.url("/archive"));
  listener_ = {};
  pages_["/archive"] = page("unpacked");
  press("Return");
  ASSERT_TRUE(waitUntil([&] { return !listener_.finished.empty(); }));
  EXPECT_THAT(listener_.finished, ElementsAre(server_.url("/archive")));
  EXPECT_FALSE(gtk_widget_get_mapped(failure()));
  EXPECT_EQ(gtk_window_get_focus(window_), pages().at(0));
  // An answer without content leaves everything as it is.
  listener_ = {};
  view_->load(server_.url("/nothing"));
  ASSERT_TRUE(waitUntil([&] { return lastRequest().starts_with("GET /nothing "); }));
  settle();
  EXPECT_THAT(listener_.finished, IsEmpty());
  EXPECT_THAT(listener_.failed, IsEmpty());
  // A page that was not found, or that asks for a password of its own, is a page all the same.
  pages_["/private"] = answer("no", "WWW-Authenticate: Basic realm=x\r\n", "401 Unauthorized");
  for (const char* path : {"/missing", "/private"}) {
    listener_ = {};
    load(server_.url(path));
    EXPECT_THAT(listener_.finished, ElementsAre(server_.url(path)));
  }
  EXPECT_FALSE(gtk_widget_get_mapped(failure()));
}

TEST_F(WebTest, OnlyTheNamedHostsCertificateIsAccepted) {
  const sandbox::Server server;
  const std::string own = sandbox::Server::caFile();
  const std::string other = std::string(g_get_user_data_dir()) + "/other.pem";
  const std::string make = "openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=other -addext "
                           "subjectAltName=IP:127.0.0.1 -keyout /dev/null 2>/dev/null -out ";
  ASSERT_EQ(std::system((make + other).c_str()), 0);
  const struct {
    std::string file;
    std::vector<std::string> hosts;
    std::size_t loads;
  } cases[] = {
      {"", {}, 0},
      {other, {server.host()}, 0},
      {own, {}, 0},
      {own, {"127.0.0.1:443", "127.0.0.1"}, 0},
      {other + ".missing", {server.host()}, 0},
      {own, {server.host()}, 1},
  };
  for (const auto& [file, hosts, loads] : cases) {
    SCOPED_TRACE(file);
    listener_ = {};
    show({.certificateFile = file, .certificateHosts = hosts});
    load("https://" + server.host() + "/");
    EXPECT_EQ(listener_.finished.size(), loads);
    ASSERT_EQ(listener_.failed.size(), 1 - loads);
    for (const WebLoadError& error : listener_.failed)
      EXPECT_THAT(error.description, HasSubstr("인증서"));
    EXPECT_EQ(server.requestCount(), loads) << "nothing was sent to a server in doubt";
    view_->removeFromSuperview();
  }
}

TEST_F(WebTest, NothingOfOneLoginIsLeftForTheNext) {
  pages_ = {{"/", page("page", "Set-Cookie: signed-in=yes\r\n")}};
  show();
  load(server_.url("/"));
  load(server_.url("/"));
  EXPECT_THAT(lastRequest(), HasSubstr("Cookie: signed-in=yes\r\n"));
  view_->removeFromSuperview();
  show();
  load(server_.url("/"));
  EXPECT_THAT(lastRequest(), Not(HasSubstr("Cookie:")));
}

TEST_F(WebTest, WidePageIsZoomedOut) {
  pages_ = {{"/wide", page("<body style='margin:0'><div style='width:640px'>wide")},
            {"/narrow", page("narrow")}};
  show();
  const auto zoom = [this] { return webkit_web_view_get_zoom_level(WEBKIT_WEB_VIEW(pages()[0])); };
  load(server_.url("/wide"));
  EXPECT_TRUE(waitUntil([&] { return zoom() == 0.5; })) << zoom();
  load(server_.url("/narrow"));
  EXPECT_EQ(zoom(), 1);
}

TEST_F(WebTest, EscapeClosesAlsoFromWithinThePage) {
  pages_ = {{"/", page("<input autofocus onkeydown='event.stopPropagation();"
                       "event.preventDefault()'>")}};
  show();
  int closed = 0;
  const auto bar = toolkit_->makeTitleBar();
  bar->setRightButton("닫기", [&] { ++closed; });
  bar->setFrame({0, 0, 320, 44});
  const auto panel = toolkit_->makeView();
  panel->setFrame({0, 0, 320, 568});
  panel->addSubview(view_);
  panel->addSubview(bar);
  toolkit_->keyWindow()->addSubview(panel);
  load(server_.url("/"));
  click(160, 200);
  EXPECT_EQ(gtk_window_get_focus(window_), pages().at(0));
  press("Escape");
  EXPECT_TRUE(waitUntil([&] { return closed == 1; }));
  bar->removeFromSuperview();
  EXPECT_NE(gtk_window_get_child(window_), entry_) << "the page is still there";
  press("Escape");
  settle();
  EXPECT_EQ(closed, 1) << "a bar that is gone hears no keys";
  panel->removeFromSuperview();
}

TEST_F(WebTest, PageAsksInADialogThatFitsAndNamesItsHost) {
  show();
  loadTricks();
  const std::string elsewhere = "http://localhost:" + std::to_string(server_.port()) + "/held";
  const struct {
    std::string asked, keys, answer;
  } cases[] = {
      {"ask()", "Return", "true"},      {"ask()", "shift+Tab Return", "false"},
      {"askLong()", "Return", "true"},  {"name()", "x Return", "\"x\""},
      {"name()", "Tab Return", "null"}, {"away('" + elsewhere + "')", "Return", "true"},
  };
  for (const auto& [asked, keys, answer] : cases) {
    SCOPED_TRACE(asked);
    script(asked);
    ASSERT_TRUE(waitUntil([&] { return button("확인") != nullptr; }));
    settle();
    EXPECT_TRUE(shows("127.0.0.1의 메시지"));
    graphene_rect_t place;
    ASSERT_TRUE(gtk_widget_compute_bounds(button("확인"), GTK_WIDGET(window_), &place));
    EXPECT_LE(place.origin.x + place.size.width, 320);
    EXPECT_LE(place.origin.y + place.size.height, 548);
    EXPECT_FALSE(gtk_widget_is_sensitive(pages().at(0)));
    press(keys);
    EXPECT_TRUE(waitUntil([&, wanted = answer] { return title() == wanted; })) << title();
    EXPECT_EQ(button("확인"), nullptr);
    EXPECT_EQ(gtk_window_get_focus(window_), pages().at(0));
  }
}

TEST_F(WebTest, LinkThatIsNoPageLeavesThePage) {
  const fs::path opened = fs::path(g_get_user_data_dir()) / "opened"; // by with-display's program
  const sandbox::Server doubted;
  fs::remove(opened);
  show();
  loadTricks();
  for (const char* link : {"mail", "phone", "blank", "app"}) {
    SCOPED_TRACE(link);
    script(std::string("cover(") + link + ")");
    settle();
    click(160, 300);
    ASSERT_TRUE(waitUntil([&] { return alert() != nullptr || fs::exists(opened); }));
    EXPECT_EQ(alert() == nullptr, link == std::string("mail"));
    EXPECT_TRUE(waitUntil([&] { return shows("열려고 합니다: mailto"); })) << "one link at a press";
    settle();
    if (alert() != nullptr) gtk_window_destroy(alert());
    fs::remove(opened);
    settle();
  }
  EXPECT_THAT(listener_.failed, IsEmpty());
  const std::pair<std::string, const char*> cases[] = {
      {"archive.click()", "파일을 받을 수 없습니다"},
      {"dead.click()", "name.invalid"},
      {"save.click()", "파일을 받을 수 없습니다"},
      {"location = 'https://" + doubted.host() + "'", "인증서"},
      {"print()", "인쇄할 수 없습니다"},
  };
  for (const auto& [what, told] : cases) {
    script("setTimeout(() => {" + what + "}, 1)");
    EXPECT_TRUE(waitUntil([&, text = told] { return shows(text); })) << what;
    EXPECT_FALSE(gtk_widget_get_mapped(failure())) << what;
    EXPECT_EQ(title(), "tricks");
  }
  EXPECT_EQ(listener_.failed.size(), 3u) << "archive, dead link and certificate";
  // What a page opens by itself is offered.
  listener_ = {};
  loadTricks("?apps");
  EXPECT_EQ(alert(), nullptr);
  ASSERT_NE(button("열기"), nullptr);
  g_signal_emit_by_name(button("열기"), "clicked");
  ASSERT_TRUE(waitUntil([] { return alert() != nullptr; }));
  EXPECT_THAT(texts(GTK_WIDGET(alert())), HasSubstr("프로그램이 없습니다"));
  gtk_window_destroy(alert());
  // No bad link is tried again.
  script("dead.click()");
  ASSERT_TRUE(waitUntil([&] { return shows("name.invalid"); }));
  webkit_web_view_terminate_web_process(WEBKIT_WEB_VIEW(pages().at(0)));
  ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(failure()); }));
  EXPECT_THAT(listener_.failed.back().description, HasSubstr("중단되었습니다"));
  listener_ = {};
  g_signal_emit_by_name(button("다시 시도"), "clicked");
  ASSERT_TRUE(waitUntil([&] { return !listener_.finished.empty(); }));
  EXPECT_THAT(listener_.finished, ElementsAre(server_.url("/tricks.html?apps")));
}

TEST_F(WebTest, WindowOfAPageOpensInPlace) {
  show();
  loadTricks("?popups");
  EXPECT_EQ(title(), "0") << "by a page of its own accord";
  script("file.click()");
  settle();
  EXPECT_THAT(listener_.asked, IsEmpty());
  for (const char* opens : {"trick.keep(); popUp()", "place.click()"}) {
    loadTricks();
    script(opens);
    ASSERT_TRUE(waitUntil([&] { return !listener_.finished.empty(); }));
    EXPECT_THAT(listener_.asked, ElementsAre(server_.url("/plain.html")));
    EXPECT_THAT(listener_.finished, ElementsAre(server_.url("/plain.html")));
  }
}

TEST_F(WebTest, PageWithoutABackgroundLeavesNoTraces) {
  pages_ = {{"/plain.html", page(pageFile("plain.html"))}};
  show();
  const auto panel = toolkit_->makeView();
  panel->setFrame({0, 0, 320, 568});
  panel->setBackgroundColor({0.5, 0.5, 0.5, 1});
  panel->addSubview(view_);
  toolkit_->keyWindow()->addSubview(panel);
  load(server_.url("/plain.html"));
  EXPECT_GT(colours("300x400+5+60"), 1);
  script("document.body.innerHTML = ''");
  settle();
  settle();
  EXPECT_EQ(colours("300x400+5+60"), 1);
  panel->removeFromSuperview();
}

} // namespace
} // namespace quarnet::platform
