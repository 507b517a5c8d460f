#pragma once

#include <string>
#include <string_view>

namespace quarnet::platform {

/// "https://host:port" of an address, as it is written there.
std::string_view originIn(std::string_view url);

/// "http://host:port", which leads to the same port as that address; empty when it cannot be
/// parsed.
std::string plainAddressOf(const std::string& url);

/// Whether two addresses have the same scheme, host and port (RFC 6454). False when one of them
/// cannot be parsed.
bool sameOrigin(const std::string& a, const std::string& b);

/// Whether the address begins with "https:", in whatever case.
bool isEncrypted(const std::string& url);

} // namespace quarnet::platform
