#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <cstdint>
#include <utility>

namespace quarnet {

/// Why an operation failed.
///
/// Codes 1 to 7 have the domain "VornelError001" to "VornelError007" and the message constant of
/// the same name as description. A call that ended without an HTTP answer of status 200 has the
/// domain "vornelAPIError" and code 1.
struct Error {
  /// What kind of error it is: tells apart the two kinds that have code 1.
  std::string domain = {};
  /// 1 to 7 for what makeError() makes, 1 for "vornelAPIError".
  std::int64_t code = 0;
  /// The reason for a person to read. Of "vornelAPIError" it is the transport's, absent when the
  /// server did answer.
  Text description = {};

  /// Whether all three are the same.
  bool operator==(const Error&) const = default;
};

/// The error value of code 1 to 7; any other has no description.
QUARNET_EXPORT Error makeError(int code);

/// What the memory did not suffice for says this in the log and in its description.
inline constexpr char kNotEnoughMemory[] = "Not enough memory for the call";

/// The error of domain "vornelAPIError".
Error apiError(Text description);

/// Stores `error` where the caller asked for it; `slot` may be null.
inline void storeError(std::optional<Error>* slot, Error error) {
  if (slot != nullptr) *slot = std::move(error);
}

} // namespace quarnet
