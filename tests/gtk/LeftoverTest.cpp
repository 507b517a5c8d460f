#include "tests/gtk/RealLogin.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace quarnet::platform {
namespace {

/// What is there of logins that have ended.
struct Leftover {
  int views;
  int pageProcesses;
  long residentKilobytes;
};

std::ostream& operator<<(std::ostream& out, const Leftover& left) {
  return out << left.views << " views, " << left.pageProcesses << " page processes, "
             << left.residentKilobytes << " KiB resident";
}

std::string field(const std::filesystem::path& file, const std::string& name) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with(name)) return line.substr(name.size());
  return {};
}

bool isOfThisSession(const std::filesystem::path& process) {
  std::ifstream file(process / "environ");
  const std::string environment{std::istreambuf_iterator<char>(file), {}};
  return environment.find(std::string("HOME=") + g_get_home_dir()) != std::string::npos;
}

/// The processes that show pages; they lie below helpers of the page engine, so all of the
/// session's are counted.
int pageProcesses() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = field(entry.path() / "status", "Name:\t");
    if (name.starts_with("WebKitWebProces") && isOfThisSession(entry.path())) ++count;
  }
  return count;
}

class LeftoverTest : public RealLogin {
protected:
  void SetUp() override {
    RealLogin::SetUp();
    // The screen opens and closes at once.
    g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
  }
  void TearDown() override {
    g_object_set(gtk_settings_get_default(), "gtk-enable-animations", TRUE, nullptr);
    RealLogin::TearDown();
  }

  void openAndClose(int times) {
    for (int i = 0; i < times && !HasFatalFailure(); ++i)
      openAndClose();
  }

  /// What is left once the page processes have had their time to end.
  Leftover leftover() {
    waitUntil([] { return pageProcesses() == 0; });
    return {views_, pageProcesses(), std::stol(field("/proc/self/status", "VmRSS:"))};
  }

private:
  void openAndClose() {
    log_->clear();
    test::server().clearReceived();
    open();
    countViews();
    ASSERT_TRUE(waitUntil([this] { return finishedPages("/oauth/authorize") == 1; }));
    manager_.oAuthClient()->closeLoginView();
    ASSERT_TRUE(waitUntil([this] { return !isOpen(); }));
    ASSERT_TRUE(windowIsAsBefore());
  }

  /// Counts the widgets of the login, until they are no more.
  void countViews() {
    auto counted = boxes();
    counted.erase(counted.begin()); // the layer that holds the others is the window's own
    for (GtkWidget* page : widgets(GTK_WIDGET(window_), "WebKitWebView"))
      counted.push_back(page);
    ASSERT_EQ(counted.size(), 5u) << "backdrop, panel, title bar, and the page in its box";
    for (GtkWidget* widget : counted) {
      ++views_;
      g_object_weak_ref(
          G_OBJECT(widget), [](gpointer views, GObject*) { --*static_cast<int*>(views); }, &views_);
    }
  }

  int views_ = 0;
};

TEST_F(LeftoverTest, TwoHundredOpeningsLeaveNoViewNoProcessAndNoMemory) {
  const Leftover start = leftover();
  openAndClose(50);
  const Leftover early = leftover();
  openAndClose(150);
  const Leftover late = leftover();
  std::cout << "at the start:       " << start << "\nafter 50 openings:  " << early
            << "\nafter 200 openings: " << late << std::endl;
  for (const Leftover& left : {early, late}) {
    EXPECT_EQ(left.views, 0);
    EXPECT_EQ(left.pageProcesses, 0);
  }
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  // A sanitizer holds back what was freed.
  EXPECT_LT(late.residentKilobytes - early.residentKilobytes, 150 * 20)
      << "no more than 20 KiB an opening";
#endif
}

} // namespace
} // namespace quarnet::platform
