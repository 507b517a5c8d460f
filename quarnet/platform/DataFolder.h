#pragma once

#include <string>

namespace quarnet::platform {

/// "<user's data folder>/<program's name>", which need not exist: $XDG_DATA_HOME or ~/.local/share,
/// and the name set with g_set_prgname() or else the executable's own. Safe from any thread; never
/// empty.
std::string dataFolder();

} // namespace quarnet::platform
