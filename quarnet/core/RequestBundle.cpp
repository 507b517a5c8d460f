#include "quarnet/core/RequestBundle.h"

namespace quarnet {

void RequestBundle::setAppId(const Text& appId) {
  if (!header_) header_.emplace();
  if (appId) {
    (*header_)["appId"] = *appId;
  } else {
    header_->erase("appId");
  }
}

} // namespace quarnet
