#pragma once

#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet {

/// Whether the bytes are UTF-8 (RFC 3629). Needs no static object: also right while the process
/// ends.
bool isUtf8(std::string_view bytes);

/// The bytes as text, taken over without a copy; absent when they are not UTF-8.
Text utf8Text(Data bytes);

} // namespace quarnet
