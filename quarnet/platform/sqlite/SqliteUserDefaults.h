#pragma once

#include "quarnet/platform/UserDefaults.h"

#include <memory>
#include <string>

namespace quarnet::platform {

/// The user defaults in one SQLite file of mode 0600; a folder made for it has mode 0700.
///
/// A synchronize() is one durable transaction: a process killed at any instant leaves all of a save
/// or none of it, and no earlier text stays readable in the folder. Two processes may share the
/// file; each values() is one transaction and sees the other's saves. A wait for the other process
/// ends after five seconds; after a wait in vain, a read waits for a fifth of a second only, until
/// one succeeds.
///
/// The file is opened with the first use and made with the first save. Where it cannot be opened or
/// written, the values stay in memory, one line goes to the log, and the next synchronize() tries
/// all of them again. What was never synchronized ends with the object.
///
/// What is found at the path is judged when it is opened:
///  - a mode that lets the group or others in is tightened; a read-only file stays read-only, for
///    root, too: it is read and never written;
///  - a file, link or journal of another user than this one and root is refused, and so is what is
///    no SQLite file or has a user_defaults of another shape. It stays as it is;
///  - a damaged file is moved aside, to "<path>.damaged-<milliseconds since 1970>", and the next
///    save begins a new one. The values() that finds it counts as not read.
///
/// Texts are overwritten in memory once they are saved. Not promised: SQLite's own buffers, and the
/// texts that values() gave.
///
/// A child made by fork() opens the file anew, provided that no other thread was inside the store
/// at that instant. Texts that are too large for the memory count as not read.
class QUARNET_EXPORT SqliteUserDefaults final : public UserDefaults {
public:
  /// `path` is the file; empty for "<user's data folder>/<program's name>/quarnet.sqlite".
  explicit SqliteUserDefaults(std::string path = {});
  ~SqliteUserDefaults() override;

  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) noexcept override;
  void setValues(std::span<const Entry> entries) override;
  void synchronize() noexcept override;

private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

} // namespace quarnet::platform
