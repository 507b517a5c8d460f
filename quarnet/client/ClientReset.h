#pragma once

#include "quarnet/core/Export.h"

namespace quarnet {

/// Ends the calls of every client, those included that wait to be sent again, waits for what runs
/// in the background, and forgets which refresh token the server refused. For the end of a test.
QUARNET_EXPORT void resetClient();

} // namespace quarnet
