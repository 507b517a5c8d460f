#include "tests/gtk/PageServer.h"
#include "tests/gtk/Screen.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace quarnet::platform {
namespace {

using namespace std::chrono_literals;

class LeftoverTest : public Screen, public WebViewDelegate {
protected:
  bool shouldStartLoad(WebView&, const std::string&) override { return true; }
  void didFailLoad(WebView&, const WebLoadError&) override { ADD_FAILURE(); }
  void didFinishLoad(WebView&) override { ++finished_; }

  /// The whole way of a login: backdrop, panel that grows, page, panel that shrinks.
  void openAndClose(const std::string& url) {
    const auto window = toolkit_->keyWindow();
    const auto backdrop = toolkit_->makeView();
    const auto panel = toolkit_->makeView();
    const auto bar = toolkit_->makeTitleBar();
    const auto web = toolkit_->makeWebView();
    backdrop->setFrame({0, 0, 320, 548});
    window->addSubview(backdrop);
    panel->setFrame({160, 274, 0, 0});
    backdrop->addSubview(panel);
    bar->setFrame({0, 0, 320, 44});
    panel->addSubview(bar);
    web->setFrame({0, 44, 320, 504});
    web->setDelegate(this);
    panel->addSubview(web);

    const int before = finished_;
    toolkit_->animate(
        10ms,
        [&] {
          panel->setFrame({0, 20, 320, 548});
        },
        [&](bool) { web->load(url); });
    ASSERT_TRUE(waitUntil([&] { return finished_ > before; }));
    bool closed = false;
    toolkit_->animate(
        10ms,
        [&] {
          panel->setFrame({160, 274, 0, 0});
          web->load("about:blank");
        },
        [&](bool) { closed = true; });
    ASSERT_TRUE(waitUntil([&] { return closed; }));
    web->removeFromSuperview();
    panel->removeFromSuperview();
    backdrop->removeFromSuperview();
  }

  static std::string field(const std::filesystem::path& file, const std::string& name) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);)
      if (line.rfind(name, 0) == 0) return line.substr(name.size());
    return {};
  }

  static long residentKilobytes() { return std::stol(field("/proc/self/status", "VmRSS:")); }

  /// The processes that show pages; they lie below helpers of the page engine, so all of the
  /// session's are counted.
  static int pageProcesses() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      const std::string name = field(entry.path() / "status", "Name:\t");
      if (name.rfind("WebKitWebProces", 0) == 0 && ofThisSession(entry.path())) ++count;
    }
    return count;
  }

  static bool ofThisSession(const std::filesystem::path& process) {
    std::ifstream file(process / "environ");
    const std::string environment{std::istreambuf_iterator<char>(file), {}};
    return environment.find(std::string("HOME=") + g_get_home_dir()) != std::string::npos;
  }

  int finished_ = 0;
};

TEST_F(LeftoverTest, TwoHundredOpeningsLeaveNoProcessAndNoMemory) {
  PageServer server({{"/", {.body = "<h1>로그인</h1><input>"}}});
  const auto open = [&](int times) {
    for (int i = 0; i < times && !HasFatalFailure(); ++i)
      openAndClose(server.url("/"));
  };
  const auto alone = [] { return pageProcesses() == 0; };
  open(50);
  ASSERT_TRUE(waitUntil(alone)) << pageProcesses();
  const long before = residentKilobytes();
  open(150);
  ASSERT_TRUE(waitUntil(alone)) << pageProcesses();
  const long after = residentKilobytes();
  std::cout << "resident after 50 openings " << before << " KiB, after 200 " << after
            << " KiB; page processes left: " << pageProcesses() << std::endl;
  EXPECT_LT(after - before, 150 * 40) << "no more than 40 KiB an opening";
}

TEST_F(LeftoverTest, ExternalAddressGoesToTheSystemsBrowser) {
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

  const std::string url = "https://portal.example/sso/openPage.do?a=1&b=%ED%95%9C%20;$(x)";
  toolkit_->openExternally(url);
  ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(opened); }));
  EXPECT_EQ(field(opened, ""), url);
  // Nobody opens this; that is a line in the log and nothing else.
  toolkit_->openExternally("no address at all");
  settle();
}

} // namespace
} // namespace quarnet::platform
