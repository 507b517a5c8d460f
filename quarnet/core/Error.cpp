#include "quarnet/core/Error.h"

#include "quarnet/core/Constants.h"

#include <array>
#include <utility>

namespace quarnet {

Error makeError(int code) {
  const std::array messages = {VornelError001, VornelError002, VornelError003, VornelError004,
                               VornelError005, VornelError006, VornelError007};
  Error error{.domain = "VornelError00" + std::to_string(code), .code = code};
  if (code >= 1 && std::cmp_less_equal(code, messages.size())) {
    error.description = messages[static_cast<std::size_t>(code) - 1];
  }
  return error;
}

Error apiError(Text description) {
  return {.domain = "vornelAPIError", .code = 1, .description = std::move(description)};
}

} // namespace quarnet
