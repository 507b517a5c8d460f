#pragma once

#include "quarnet/platform/Log.h"

namespace quarnet::platform {

/// A text that is no secret by its meaning, such as a scope or a lifetime, but that a server may
/// have filled with something else: harmless as long as it is made of the characters of a scope
/// (RFC 6749, section 3.3), which can neither quote nor escape another text.
Log::Piece plainPiece(std::string_view text);

/// An address from outside, in two pieces that point into it. A code may stand anywhere in it, so
/// that only the scheme and the host of an http or https address are harmless, and nothing of any
/// other.
struct AddressPieces {
  /// The harmless start, which may be empty.
  Log::Piece origin;
  Log::Piece rest;
};
AddressPieces addressPieces(std::string_view url);

} // namespace quarnet::platform
