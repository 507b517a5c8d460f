#pragma once

#include "tools/ObservedHttpClient.h"
#include "tools/Settings.h"

#include <gtk/gtk.h>
#include <memory>

namespace quarnet::tools {

/// One sign-in: the login screen in a window of its own, from its opening to its end.
class SignIn {
public:
  explicit SignIn(Settings& settings) : settings_(settings) {}
  ~SignIn();
  SignIn(const SignIn&) = delete;
  SignIn& operator=(const SignIn&) = delete;

  /// An ExitCode. Returns when the user is signed in or has given up; says which.
  int run();

private:
  void makeWindow();
  void setUp();
  void showScreen();
  /// Whether nothing more will come.
  bool isOver() const;
  int report(const Text& formerToken, const std::string& success) const;
  void finished(const ResultDictionary& result);
  void failed(const ResultDictionary& result);

  Settings& settings_;
  std::shared_ptr<ObservedHttpClient> http_;
  /// Becomes null when the user closes it.
  GtkWindow* window_ = nullptr;
  bool finished_ = false;
  bool failed_ = false;
};

} // namespace quarnet::tools
