#include "quarnet/platform/headless/HeadlessTitleBar.h"

namespace quarnet::platform {

void HeadlessTitleBar::pressRightButton() {
  // A copy, since what it does may take the bar away.
  if (const std::function<void()> pressed = pressed_) pressed();
}

void HeadlessTitleBar::setRightButton(const std::string& label, std::function<void()> pressed) {
  rightButton_ = label;
  pressed_ = std::move(pressed);
}

} // namespace quarnet::platform
