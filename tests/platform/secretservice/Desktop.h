#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

/// A desktop session of a test's own: a folder as the user's home, a session bus on which nothing
/// starts by itself, and a gnome-keyring that is unlocked. This process and its children are in it.
class Desktop {
public:
  Desktop();
  ~Desktop();

  /// Whether the programs that it takes are installed and run; otherwise why not.
  const std::string& trouble() const { return trouble_; }

  void startBus();
  /// Null for the password leaves the keyring locked, or without a collection if it is new.
  void startKeyring(const char* password = "password");
  void endBus() { end(bus_); }
  void endKeyring() { end(keyring_); }
  pid_t bus() const { return bus_; }
  pid_t keyring() const { return keyring_; }

  /// What a shell command prints.
  static std::string run(const std::string& command);
  /// Has the keyring lock itself.
  static void lock();

private:
  static void end(pid_t& process);

  std::filesystem::path home_;
  std::string trouble_;
  pid_t bus_ = 0;
  pid_t keyring_ = 0;
};
