#include "quarnet/platform/headless/HeadlessToolkit.h"

#include <algorithm>
#include <utility>

namespace quarnet::platform {
namespace {

/// The topmost view of class T in or below `view`.
template <class T>
std::shared_ptr<T> topmost(const std::shared_ptr<HeadlessView>& view) {
  const auto& children = view->children();
  for (auto child = children.rbegin(); child != children.rend(); ++child) {
    if (auto found = topmost<T>(*child)) return found;
  }
  return std::dynamic_pointer_cast<T>(view);
}

} // namespace

HeadlessToolkit::HeadlessToolkit(double width, double height) {
  const auto window = std::make_shared<HeadlessViewAs<View>>(clock_);
  window->setFrame({0, 0, width, height});
  window_ = window;
  keyWindow_ = window;
}

HeadlessToolkit::~HeadlessToolkit() = default;

std::shared_ptr<HeadlessTitleBar> HeadlessToolkit::titleBar() const {
  return topmost<HeadlessTitleBar>(window_);
}

std::shared_ptr<HeadlessWebView> HeadlessToolkit::webView() const {
  return topmost<HeadlessWebView>(window_);
}

void HeadlessToolkit::advance(std::chrono::milliseconds time) {
  const std::chrono::milliseconds until = clock_->now + time;
  while (!running_.empty() && running_.front().animation->end <= until) {
    const Running ended = std::move(running_.front());
    running_.erase(running_.begin());
    clock_->now = ended.animation->end;
    if (ended.completion) ended.completion(true);
  }
  clock_->now = until;
}

void HeadlessToolkit::cutAnimationsShort() {
  const std::vector<Running> cut = std::exchange(running_, {});
  for (const Running& each : cut)
    each.animation->end = clock_->now;
  for (const Running& each : cut) {
    if (each.completion) each.completion(false);
  }
}

void HeadlessToolkit::pressAlert() {
  if (alerts_.empty()) return;
  const HeadlessAlert alert = std::move(alerts_.back());
  alerts_.pop_back();
  if (alert.pressed) alert.pressed();
}

std::shared_ptr<View> HeadlessToolkit::makeView() {
  return std::make_shared<HeadlessViewAs<View>>(clock_);
}

std::shared_ptr<TitleBar> HeadlessToolkit::makeTitleBar() {
  return std::make_shared<HeadlessTitleBar>(clock_);
}

std::shared_ptr<WebView> HeadlessToolkit::makeWebView() {
  return std::make_shared<HeadlessWebView>(clock_);
}

void HeadlessToolkit::animate(std::chrono::milliseconds duration, std::function<void()> changes,
                              std::function<void(bool finished)> completion) {
  auto animation = std::make_shared<HeadlessAnimation>(
      HeadlessAnimation{.start = clock_->now, .end = clock_->now + duration});
  const auto outer = std::exchange(clock_->animating, animation);
  if (changes) changes();
  clock_->animating = outer;
  const auto place = std::upper_bound(
      running_.begin(), running_.end(), animation->end,
      [](auto end, const Running& running) { return end < running.animation->end; });
  running_.insert(place, {std::move(animation), std::move(completion)});
}

void HeadlessToolkit::showAlert(const std::string& title, const std::string& message,
                                const std::string& button, std::function<void()> pressed) {
  alerts_.push_back({title, message, button, std::move(pressed)});
}

} // namespace quarnet::platform
