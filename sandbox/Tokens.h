#pragma once

#include <chrono>
#include <string>

namespace quarnet::sandbox {

/// What a sign-in hands out (RFC 6749 section 5.1).
struct Tokens {
  std::string accessToken;
  std::string refreshToken;
  std::string scope;
  std::chrono::seconds expiresIn{0};

  /// The token endpoint's JSON answer that carries them.
  std::string json() const;
};

} // namespace quarnet::sandbox
