// Opening the login screen (two frames are 33.3 ms), against a bare web view laid over the same
// window. Runs under a display.

#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include "quarnet/login/OAuthClient.h"
#include "quarnet/platform/glib/GlibMainThread.h"
#include "quarnet/platform/gtk/GtkToolkit.h"
#include "quarnet/quarnet.h"

#include <adwaita.h>
#include <algorithm>
#include <webkit/webkit.h>

namespace {

using namespace quarnet;
using namespace quarnet::bench;
using platform::GlibMainThread;
using std::chrono::milliseconds;

constexpr int kRounds = 9;

/// A window that notes when its frames were painted.
class Window {
public:
  Window() : window_(GTK_WINDOW(gtk_window_new())), overlay_(gtk_overlay_new()) {
    gtk_window_set_default_size(window_, 420, 760);
    gtk_overlay_set_child(GTK_OVERLAY(overlay_), gtk_label_new("Quarnet"));
    gtk_window_set_child(window_, overlay_);
    gtk_window_present(window_);
    rest();
    g_signal_connect_swapped(
        gtk_widget_get_frame_clock(GTK_WIDGET(window_)), "after-paint",
        G_CALLBACK(+[](Window* self) { self->painted_.push_back(g_get_monotonic_time()); }), this);
  }

  GtkWindow* get() { return window_; }
  GtkOverlay* overlay() { return GTK_OVERLAY(overlay_); }

  /// Lets everything end that is under way.
  static void rest() {
    GlibMainThread::runUntil([] { return false; }, milliseconds(400));
  }

  /// Calls `open` and watches for that long: the milliseconds from the call to the first frame
  /// painted after it, and from each frame to the next.
  std::vector<double> frames(const std::function<void()>& open, milliseconds watched) {
    painted_.clear();
    gint64 last = g_get_monotonic_time();
    open();
    GlibMainThread::runUntil([] { return false; }, watched);
    std::vector<double> times;
    for (const gint64 at : painted_)
      times.push_back(static_cast<double>(at - std::exchange(last, at)) / 1000);
    return times;
  }

private:
  GtkWindow* window_;
  GtkWidget* overlay_;
  std::vector<gint64> painted_;
};

std::string text(double time) {
  return withUnit(time, "ms");
}

void measure() {
  Window window;
  configureHosts({.api = "127.0.0.1:9", .mobile = "127.0.0.1:9", .portal = "127.0.0.1:9"});
  platform::Platform::install({.log = std::make_shared<platform::NullLog>(),
                               .toolkit = std::make_shared<platform::GtkToolkit>(
                                   platform::GtkToolkitOptions{.window = window.get()})});
  const auto screen = OAuthInfoManager::sharedInstance().oAuthClient();

  std::vector<double> first;
  std::vector<double> firstBare;
  double longest = 0;
  for (int round = 0; round < kRounds; ++round) {
    // A little less than the animation takes: what follows it is the page's.
    auto frames = window.frames([&] { screen->loginFinishedFailed(nullptr, nullptr, nullptr); },
                                milliseconds(480));
    first.push_back(frames.front());
    longest = std::max(longest, *std::max_element(frames.begin() + 1, frames.end()));
    Window::rest();
    screen->closeLoginView();
    GlibMainThread::runUntil([&] { return screen->loginView() == nullptr; }, milliseconds(5000));
    Window::rest();

    GtkWidget* bare = nullptr;
    frames = window.frames(
        [&] {
          bare = webkit_web_view_new();
          gtk_overlay_add_overlay(window.overlay(), bare);
        },
        milliseconds(480));
    firstBare.push_back(frames.front());
    gtk_overlay_remove_overlay(window.overlay(), bare);
    Window::rest();
  }
  constexpr std::string_view kWhat = "opening the login screen, against a bare web view";
  report(kWhat, "from the call to its first frame", text(median(first)), text(median(firstBare)),
         median(first), atMost(33.3, "ms"));
  report(kWhat, "longest frame of " + std::to_string(kRounds) + " animations", text(longest),
         "none", longest, atMost(33, "ms"));
}

} // namespace

int main() {
  adw_init();
  measure();
  return 0;
}
