#include "quarnet/core/Error.h"

#include "quarnet/core/Constants.h"

#include <array>
#include <cassert>

namespace quarnet {

Error makeError(int code) {
  const std::array<std::string_view, 7> messages = {VornelError001, VornelError002, VornelError003,
                                                    VornelError004, VornelError005, VornelError006,
                                                    VornelError007};
  assert(code >= 1 && code <= static_cast<int>(messages.size()));
  return {.domain = "VornelError00" + std::to_string(code),
          .code = code,
          .description = std::string(messages[static_cast<std::size_t>(code) - 1])};
}

} // namespace quarnet
