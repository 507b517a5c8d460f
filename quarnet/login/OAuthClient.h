#pragma once

#include "quarnet/core/Export.h"

#include <memory>

namespace quarnet {

/// The login screen.
class QUARNET_EXPORT OAuthClient : public std::enable_shared_from_this<OAuthClient> {
public:
  OAuthClient() = default;
};

} // namespace quarnet
