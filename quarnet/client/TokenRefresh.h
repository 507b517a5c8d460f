#pragma once

#include "quarnet/client/ApiError.h"
#include "quarnet/core/Types.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quarnet {

/// Reissues the tokens of the one session, once for all who need it (RFC 6749, section 6).
///
/// A reissue that was begun is not cancelled, and one of OAuthInfoManager's serves as well. What it
/// brings is in the record and in the store before anyone is told. So does what another process had
/// reissued and saved. A process that ends by exit() or by returning from main waits for the
/// answer, five seconds at most: the server may take the old refresh token no more. Safe from any
/// thread.
class TokenRefresh {
public:
  /// Absent when the record holds another access token now than the stale one.
  using Done = std::function<void(std::optional<ApiError>)>;

  static TokenRefresh& shared();

  /// Calls `done` once, on a background thread or inside this call, when the record's access token
  /// is another one than `stale`, or with the reason why it is not: SignedOut when there is nothing
  /// to reissue with or the server refused, and then no further reissue is tried with the same
  /// refresh token.
  void renew(const Text& stale, const Done& done);

private:
  void renewWhenSaved(const Text& stale, const Done& done);
  /// Has the refresh token sent, unless somebody else just does and that brings new tokens.
  void begin(const Text& refreshToken, const Text& stale);
  /// Another process may have had the tokens reissued, which the store then has.
  void sendUnlessReplaced(const Text& refreshToken);
  void send(const Text& refreshToken);
  void finish(const Text& refreshToken, const std::optional<ApiError>& problem);
  void tell(const Text& refreshToken, const std::optional<ApiError>& problem);
  void waitAtExit();

  std::mutex mutex_;
  std::condition_variable told_;
  /// Who waits for the reissue under which refresh token; it is under way when anybody waits. After
  /// a sign-in the one of the session before may still be.
  std::map<std::string, std::vector<Done>> waiting_;
};

} // namespace quarnet
