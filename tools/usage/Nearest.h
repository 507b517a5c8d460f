#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quarnet::usage {

/// Those of the words that a mistyped one was probably meant to be: it begins like them, or at most
/// two letters are wrong, missing, too many or in the wrong order. The best ones only.
std::vector<std::string> nearest(std::string_view word, const std::vector<std::string>& words);

} // namespace quarnet::usage
