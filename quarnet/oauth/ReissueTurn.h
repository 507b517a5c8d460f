#pragma once

#include "quarnet/core/Types.h"

#include <chrono>
#include <functional>

namespace quarnet {

/// The right to send a refresh token, which one at a time has, whichever of the library's classes
/// asks: a server that replaces refresh tokens takes one that comes twice for stolen, and ends the
/// session (RFC 9700, section 4.14.2). Safe from any thread.
class ReissueTurn {
public:
  /// Takes the turn of that refresh token; says whether it did. While another one has it,
  /// `whenFree` is kept instead and called once on the thread that gives the turn back. Throws
  /// std::bad_alloc, and nothing has changed then.
  static bool take(const Text& refreshToken, std::function<void()> whenFree);
  static void giveBack(const Text& refreshToken);

  /// Waits for the turn of the refresh token that the record holds then, for `limit` at most.
  explicit ReissueTurn(std::chrono::milliseconds limit);
  /// Gives back what was taken.
  ~ReissueTurn();
  ReissueTurn(const ReissueTurn&) = delete;
  ReissueTurn& operator=(const ReissueTurn&) = delete;

  const Text& refreshToken() const { return refreshToken_; }
  /// What waiting has left of the limit; 0 when the turn did not come.
  std::chrono::milliseconds left() const { return left_; }

private:
  Text refreshToken_;
  std::chrono::milliseconds left_;
};

} // namespace quarnet
