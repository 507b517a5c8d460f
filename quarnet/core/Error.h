#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <cstdint>

namespace quarnet {

/// Why an operation failed.
///
/// Codes 1 to 7 have the domain "VornelError001" to "VornelError007" and the message constant of
/// the same name as description. An HTTP answer whose status is not 200 has the domain
/// "vornelAPIError" and code 1; its description is the transport's, absent when the server did
/// answer.
struct Error {
  std::string domain = {};
  std::int64_t code = 0;
  Text description = {};

  bool operator==(const Error&) const = default;
};

/// The error value of code 1 to 7; any other has no description.
QUARNET_EXPORT Error makeError(int code);

/// The error of domain "vornelAPIError".
Error apiError(Text description);

/// Stores `error` where the caller asked for it; `slot` may be null.
inline void storeError(std::optional<Error>* slot, Error error) {
  if (slot != nullptr) *slot = std::move(error);
}

} // namespace quarnet
