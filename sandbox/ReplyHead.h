#pragma once

#include "sandbox/Reply.h"

#include <cstdint>
#include <string>

namespace quarnet::sandbox {

/// How many bytes of body the reply announces: none for HEAD and for statuses that have no body.
std::uint64_t bodyLength(const Reply& reply, bool isHead);

/// Status line and header fields, with the empty line behind them.
std::string replyHead(const Reply& reply, bool keepAlive, bool isHead);

} // namespace quarnet::sandbox
