#pragma once

#include "quarnet/platform/UserDefaults.h"

#include <memory>
#include <string>

namespace quarnet::platform {

/// The user defaults in one SQLite file (mode 0600, also where it was wider; a folder made for it
/// has mode 0700).
///
/// A synchronize() is one durable transaction: a process killed at any instant leaves all of a save
/// or none of it, and no earlier text stays readable in the folder. Two processes may share the
/// file; each values() is one transaction and sees the other's saves. A wait for the other process
/// ends after five seconds.
///
/// The file is opened with the first use and made with the first save. Where it cannot be opened or
/// written, the values stay in memory, one line goes to the log, and the next synchronize() tries
/// all of them again. What was never synchronized ends with the object.
///
/// A child made by fork() opens the file anew, provided that no other thread was inside the store
/// at that instant.
class QUARNET_EXPORT SqliteUserDefaults final : public UserDefaults {
public:
  /// `path` is the file; empty for "<user's data folder>/<program's name>/quarnet.sqlite".
  explicit SqliteUserDefaults(std::string path = {});
  ~SqliteUserDefaults() override;

  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) override;
  void setValues(std::span<const Entry> entries) override;
  void synchronize() override;

private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

} // namespace quarnet::platform
