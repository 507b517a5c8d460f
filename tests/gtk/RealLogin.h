#pragma once

#include "tests/gtk/Screen.h"
#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include "quarnet/login/OAuthClient.h"

#include <string>
#include <webkit/webkit.h>

namespace quarnet::platform {

/// The library's login screen on the real toolkit, against the sandbox.
class RealLogin : public test::LibraryTest, protected Screen {
protected:
  void SetUp() override;
  void TearDown() override;

  /// Lays the login screen over the window.
  void open();
  bool isOpen() const { return manager_.oAuthClient()->loginView() != nullptr; }
  /// Whether the window shows what it showed before any login.
  bool windowIsAsBefore() const;

  /// How many pages of an address with that text have finished.
  std::size_t finishedPages(const std::string& address) const {
    return lines("요청 완료된 URL", address);
  }
  /// How many lines of the log have that start and, anywhere, that text.
  std::size_t lines(const std::string& start, const std::string& text) const;
  static std::size_t requests(const std::string& path);
  /// Runs a script in the page on top.
  void script(const std::string& text);

  test::Callbacks app_;
};

} // namespace quarnet::platform
