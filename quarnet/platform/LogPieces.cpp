#include "quarnet/platform/LogPieces.h"

#include "quarnet/core/Text.h"

#include <algorithm>

namespace quarnet::platform {
namespace {

bool isScopeCharacter(char c) {
  return c >= ' ' && c <= '~' && c != '"' && c != '\\';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isHostCharacter(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-';
}

/// The size of "http://" or "https://" at the front, 0 without.
std::size_t schemeSize(std::string_view url) {
  for (const std::string_view scheme : {"http://", "https://"})
    if (sameIgnoringCase(url.substr(0, scheme.size()), scheme)) return scheme.size();
  return 0;
}

/// Whether it is "HOST" or "HOST:PORT" and so holds no password. Names in other scripts and numbers
/// in brackets do not count: a rule for them would be one more to get wrong.
bool isHost(std::string_view authority) {
  const std::size_t colon = std::min(authority.find(':'), authority.size());
  const std::string_view port = authority.substr(std::min(colon + 1, authority.size()));
  return std::ranges::all_of(authority.substr(0, colon), isHostCharacter) &&
         std::ranges::all_of(port, isDigit);
}

} // namespace

Log::Piece plainPiece(std::string_view text) {
  return {.text = text, .isHarmless = std::ranges::all_of(text, isScopeCharacter)};
}

AddressPieces addressPieces(std::string_view url) {
  std::size_t end = schemeSize(url);
  if (end > 0) {
    const std::size_t hostEnd = std::min(url.find_first_of("/?#", end), url.size());
    end = isHost(url.substr(end, hostEnd - end)) ? hostEnd : 0;
  }
  return {.origin = harmless(url.substr(0, end)), .rest = {.text = url.substr(end)}};
}

} // namespace quarnet::platform
