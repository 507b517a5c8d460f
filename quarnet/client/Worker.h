#pragma once

#include "quarnet/core/Export.h"

#include <cstddef>
#include <functional>

namespace quarnet {

/// Runs `call`, which may block for long as reading files and using the store do, on one of two
/// threads of its own; says whether it will. It will not when no thread can be made. Safe from any
/// thread.
bool runOnWorker(std::function<void()> call);

/// Waits until nothing runs there, and says how many calls there had been when the wait began. For
/// tests, before they take the services away.
QUARNET_EXPORT std::size_t waitForWorkers();

} // namespace quarnet
