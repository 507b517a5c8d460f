#pragma once

#include "tools/Settings.h"

#include <gtk/gtk.h>

namespace quarnet::tools {

/// One sign-in, from the taking up of the stored session or the opening of the login screen, in a
/// window of its own, to its end.
class LoginWindow {
public:
  explicit LoginWindow(Settings& settings);
  ~LoginWindow();
  LoginWindow(const LoginWindow&) = delete;
  LoginWindow& operator=(const LoginWindow&) = delete;

  /// An ExitCode. Returns when the user is signed in or has given up; says which.
  int run();

private:
  void makeWindow();
  /// Sets the library up; false, and told, when that cannot be done.
  bool setUp();

  Settings& settings_;
  /// Becomes null when the user closes it.
  GtkWindow* window_ = nullptr;
};

} // namespace quarnet::tools
