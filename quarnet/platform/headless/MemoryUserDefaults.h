#pragma once

#include "quarnet/platform/UserDefaults.h"

#include <atomic>
#include <mutex>

namespace quarnet::platform {

/// User defaults in memory.
class QUARNET_EXPORT MemoryUserDefaults final : public UserDefaults {
public:
  /// While false, values() gives nothing, as with a damaged file.
  std::atomic<bool> canBeRead = true;
  /// While false, synchronize() saves nothing, as on a full disk.
  std::atomic<bool> canBeWritten = true;

  /// What was saved: what the application's next start finds.
  Dictionary saved() const;
  /// Forgets what was set and not saved, as the end of the process does.
  void dropUnsaved();

  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) override;
  void setValues(std::span<const Entry> entries) override;
  void synchronize() override;

private:
  mutable std::mutex mutex_;
  Dictionary texts_;
  Dictionary saved_;
};

} // namespace quarnet::platform
