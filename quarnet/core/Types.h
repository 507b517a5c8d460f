#pragma once

#include "quarnet/core/Text.h"

#include <map>
#include <string>

namespace quarnet {

/// The bytes of a body or of an answer; not necessarily text.
using Data = std::string;

/// Request parameters: a key may come without a value. Iterated in the order of the keys.
using Parameters = std::map<std::string, Text>;

/// Text by text.
using Dictionary = std::map<std::string, std::string>;

} // namespace quarnet
