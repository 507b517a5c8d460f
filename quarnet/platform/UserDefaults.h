#pragma once

#include "quarnet/core/Data.h"
#include "quarnet/core/Export.h"

#include <string_view>

namespace quarnet::platform {

/// The application's persistent texts by key. Safe from any thread; reports no errors: what cannot
/// be written stays readable in this process and one line goes to the log.
class QUARNET_EXPORT UserDefaults {
public:
  virtual ~UserDefaults() = default;

  /// The text under `key`, what was set and not yet synchronized included; absent when there is
  /// none.
  virtual Text value(std::string_view key) = 0;

  /// Sets the text under `key`; an absent text removes the entry.
  virtual void setValue(std::string_view key, Text value) = 0;

  /// Makes everything set since the last call durable, all of it or nothing, before it returns.
  virtual void synchronize() = 0;
};

} // namespace quarnet::platform
