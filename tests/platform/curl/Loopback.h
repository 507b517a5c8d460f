#pragma once

#include <cstdint>

namespace quarnet::test {

/// A socket that listens on loopback; `port` 0 is replaced by the port that was free. Throws
/// std::runtime_error.
int listenOnLoopback(std::uint16_t& port);
/// A socket that is connected to that port; negative when nobody listens there.
int connectToLoopback(std::uint16_t port);
/// A port that was free a moment ago.
std::uint16_t freeLoopbackPort();

} // namespace quarnet::test
