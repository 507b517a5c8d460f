#pragma once

#include "quarnet/platform/headless/HeadlessView.h"

#include <string>

namespace quarnet::platform {

/// A title bar whose texts can be read and whose button can be pressed.
class QUARNET_EXPORT HeadlessTitleBar final : public HeadlessViewAs<TitleBar> {
public:
  using HeadlessViewAs::HeadlessViewAs;

  /// What setTitle() set; empty before.
  const std::string& title() const { return title_; }
  /// The button's text; empty before setRightButton().
  const std::string& rightButton() const { return rightButton_; }
  /// Does what a user's press does; nothing without a button.
  void pressRightButton();

  void setTitle(const std::string& title) override { title_ = title; }
  void setRightButton(const std::string& label, std::function<void()> pressed) override;

private:
  std::string title_;
  std::string rightButton_;
  std::function<void()> pressed_;
};

} // namespace quarnet::platform
