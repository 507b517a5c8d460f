#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// The application's persistent texts by key. Safe from any thread; throws nothing, setValues()
/// excepted, which throws std::bad_alloc for texts that are too large and sets none then. What
/// cannot be read or written is one line in the log, written while no lock is held, so that a log
/// may use the store; what cannot be written stays readable in this process.
class QUARNET_EXPORT UserDefaults {
public:
  /// What to set; an absent text removes the entry. Both live only as long as the call.
  struct Entry {
    /// Under which the text is stored.
    std::string_view key;
    /// The text; absent to remove it.
    std::optional<std::string_view> value;
  };

  virtual ~UserDefaults() = default;

  /// The texts under `keys`, one for each and absent where there is none, all as of one instant;
  /// what was set and not yet synchronized is included. Absent as a whole when the store
  /// cannot be read; the log says why.
  virtual std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) = 0;

  /// The text under one key; absent when there is none or the store cannot be read.
  Text value(std::string_view key);

  /// Sets all entries at one instant: nobody reads or synchronizes some of them only.
  virtual void setValues(std::span<const Entry> entries) = 0;

  /// Sets one entry; an absent value removes it.
  void setValue(std::string_view key, const Text& value);

  /// Makes everything set since the last call durable, all of it or nothing, before it returns.
  virtual void synchronize() = 0;
};

} // namespace quarnet::platform
