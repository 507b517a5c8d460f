#pragma once

#include "quarnet/platform/UserDefaults.h"

#include <chrono>
#include <memory>
#include <string>

namespace quarnet::platform {

/// The user defaults in the desktop's keyring, through its Secret Service (org.freedesktop.secrets)
/// on the session bus: encrypted on disk, and readable once the session has unlocked it. In place
/// of the file: Platform::install({.userDefaults =
/// std::make_shared<SecretServiceDefaults>("com.example.Places")}).
///
/// All texts are one item of the default keyring, so that a synchronize() takes place as a whole or
/// not at all, and a values() reads one state. Processes and threads that save for one application
/// take turns. The item is made with the first save, and removed with the last text; if somebody
/// deletes it, nothing is stored.
///
/// No call blocks for longer than five seconds; after a wait in vain, a read takes a fifth of a
/// second only, until one succeeds. None shows a prompt, unlock() excepted. Where there is no
/// session bus or keyring, or where it is locked, nothing can be read or saved: one line goes to
/// the log, what was set stays in memory, and the next synchronize() tries all of it again. What
/// was never synchronized ends with the object.
///
/// The keyring does not keep everything: texts of more than 4 MiB altogether are not saved. An item
/// that somebody changed beyond recognition counts as not read; the next save keeps it under
/// "<application>.damaged-<milliseconds since 1970>" and begins a new one.
///
/// The item's name and attributes hold the application's identifier alone. The texts travel
/// encrypted on the bus, and are overwritten in memory once they are saved. Not promised: the
/// memory of the keyring and of the libraries below, and the texts that values() gave.
///
/// A child made by fork() cannot use a store that its parent has used; it is told so in the log.
class QUARNET_EXPORT SecretServiceDefaults final : public UserDefaults {
public:
  /// `application` names the item: the application's identifier, such as "com.example.Places". It
  /// consists of letters, digits, '-', '_' and '.', with no part that is empty or begins with a
  /// digit. Nothing is saved under another one.
  explicit SecretServiceDefaults(std::string application);
  ~SecretServiceDefaults() override;

  /// Has the desktop unlock the keyring, or make one where there is none, which shows the user a
  /// prompt if it takes a password. Waits for the answer up to the given time; so call it on a
  /// thread that may block. False, with a line in the log, when the prompt was dismissed and where
  /// there is no keyring.
  bool unlock(std::chrono::seconds patience = std::chrono::minutes(2)) noexcept;

  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) noexcept override;
  void setValues(std::span<const Entry> entries) override;
  void synchronize() noexcept override;

private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

} // namespace quarnet::platform
