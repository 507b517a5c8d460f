#pragma once

#include "quarnet/core/Export.h"

#include <string>

namespace quarnet {

/// The hosts of one deployment, each without a scheme and with a port if it needs one
/// ("api.example.org", "127.0.0.1:8443"). An empty host leaves the one that is used unchanged.
struct Hosts {
  /// Sign-in, tokens, parameter keys.
  std::string api = {};
  /// The mobile web site.
  std::string mobile = {};
  /// The portal that opens in the system's browser.
  std::string portal = {};
};

/// Points the endpoint addresses of Constants.h at another deployment. Call it at start-up, before
/// anything else of the library and from one thread.
QUARNET_EXPORT void configureHosts(const Hosts& hosts);

} // namespace quarnet
