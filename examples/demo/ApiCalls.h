#pragma once

#include <quarnet/quarnet.h>
#include <string>

namespace demo {

// The calls of this application, described.

quarnet::Call whoAmI();
quarnet::Call search(const std::string& keyword);
quarnet::Call upload(const std::string& file);

} // namespace demo
