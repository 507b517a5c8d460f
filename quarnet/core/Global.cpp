#include "quarnet/core/Global.h"

namespace quarnet {

std::string Global::getContentType(std::uint64_t format) {
  switch (format) {
  case 0:
    return "application/xml";
  case 1:
    return "application/json";
  default:
    return "error";
  }
}

} // namespace quarnet
