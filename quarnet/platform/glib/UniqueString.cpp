#include "quarnet/platform/UniqueString.h"

#include <glib.h>

namespace quarnet::platform {

std::string globallyUniqueString() {
  gchar* uuid = g_uuid_string_random();
  std::string text(uuid);
  g_free(uuid);
  return text;
}

} // namespace quarnet::platform
