#pragma once

#include "sandbox/Options.h"
#include "sandbox/Tokens.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace quarnet::sandbox {

/// The authorization codes and the tokens that are live. Safe from any thread.
class TokenStore {
public:
  explicit TokenStore(const Options& options);

  /// Tokens of a new sign-in; `lifetime` is the access token's, by default that of the options.
  Tokens issue(std::string scope, std::optional<std::chrono::seconds> lifetime = {});
  /// A code that can be exchanged once, within a minute, together with this redirect address.
  std::string issueCode(std::string redirectUri, std::string scope);

  /// Uses the code up, whatever comes of it. Absent when the code is not live or was made for
  /// another redirect address.
  std::optional<Tokens> exchangeCode(const std::string& code, const std::string& redirectUri);
  /// Uses the refresh token up and gives a new pair. Absent when it is not live.
  std::optional<Tokens> refresh(const std::string& refreshToken);
  /// Ends the sign-in that the access token belongs to, with all its tokens; false when the token
  /// is not live.
  bool revoke(const std::string& accessToken);

  bool isLive(const std::string& accessToken) const;

private:
  using Time = std::chrono::steady_clock::time_point;
  struct Token {
    std::uint64_t signIn;
    std::string scope;
    Time expires;
  };
  struct Code {
    std::string redirectUri;
    std::string scope;
    Time expires;
  };

  Tokens issueFor(std::uint64_t signIn, std::string scope, std::chrono::seconds lifetime);
  void forgetExpired(Time now);

  const std::chrono::seconds accessLifetime_;
  const std::chrono::seconds refreshLifetime_;
  mutable std::mutex mutex_;
  std::unordered_map<std::string, Token> access_;
  std::unordered_map<std::string, Token> refresh_;
  std::unordered_map<std::string, Code> codes_;
  std::uint64_t lastSignIn_ = 0;
  std::size_t nextSweep_ = 1024;
};

} // namespace quarnet::sandbox
