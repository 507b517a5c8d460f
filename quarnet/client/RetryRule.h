#pragma once

#include "quarnet/client/ApiError.h"
#include "quarnet/client/Call.h"

#include <chrono>
#include <optional>

namespace quarnet {

/// How long to wait before a call with that method that ended with `error` is sent once more, after
/// it was sent again `retries` times; absent when it is not to be sent again. `retryAfter` is what
/// the server asked for, 0 for nothing; `random` is from 0 to 1.
std::optional<std::chrono::milliseconds> pauseBeforeRetry(HttpMethod method, const Retry& retry,
                                                          const ApiError& error, unsigned retries,
                                                          std::chrono::seconds retryAfter,
                                                          double random);

} // namespace quarnet
