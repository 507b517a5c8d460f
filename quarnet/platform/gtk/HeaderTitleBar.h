#pragma once

#include "quarnet/platform/gtk/FrameNode.h"

#include <functional>
#include <string>

namespace quarnet::platform {

/// A header bar without window controls. Escape, wherever the focus is in the window, presses its
/// button.
class HeaderTitleBar final : public FramedView<TitleBar> {
public:
  HeaderTitleBar();
  ~HeaderTitleBar() override;

  void setTitle(const std::string& title) override;
  void setRightButton(const std::string& label, std::function<void()> pressed) override;

private:
  void press() const;

  GtkWidget* bar_;
  GtkWidget* button_ = nullptr;
  std::function<void()> pressed_;
};

} // namespace quarnet::platform
