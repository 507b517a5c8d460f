#pragma once

#include "quarnet/core/Export.h"

#include <cstdint>
#include <string>

namespace quarnet {

/// Look-ups that every request shares.
class QUARNET_EXPORT Global {
public:
  Global() = delete;

  /// The content type of a ContentFormat value: 0 is "application/xml", 1 is "application/json",
  /// any other number is "error".
  static std::string getContentType(std::uint64_t format);
};

} // namespace quarnet
