#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <mutex>

namespace quarnet {

/// The stored tokens of the signed-in user: one record per process.
///
/// Reached through sharedInstance(), made on first use and never destroyed. Reading and writing
/// a field is safe from any thread; a read never sees half of a write. A field that was filled from
/// a token answer without that member holds the text "(null)", not an absent value.
///
/// A text that is replaced is overwritten in memory. That is not promised of copies: those that the
/// getters give, those in log lines, requests and the store's buffers, what std::string left behind
/// where it grew or moved, and the record itself, which lives as long as the process.
class QUARNET_EXPORT OAuthInfo {
public:
  /// The one record of the process. Safe from any thread.
  static OAuthInfo& sharedInstance();

  /// The one record, as from all the ordinary ways to make, copy and hold an object; it is never
  /// released.
  /// @{
  static OAuthInfo& allocWithZone() { return sharedInstance(); }
  OAuthInfo& init() { return *this; }
  OAuthInfo& copyWithZone() { return *this; }
  OAuthInfo& retain() { return *this; }
  OAuthInfo& autorelease() { return *this; }
  void release() {}
  unsigned long retainCount() const { return ~0UL; }
  /// @}

  OAuthInfo(const OAuthInfo&) = delete;
  OAuthInfo& operator=(const OAuthInfo&) = delete;

  /// The application's client identifier (RFC 6749, section 2.2), as
  /// OAuthInfoManager::setClientId() left it; never stored. Absent until set.
  Text clientId() const;
  void setClientId(Text clientId);

  /// The access token (RFC 6749, section 1.4). Absent until signed in; empty after a logout.
  Text accessToken() const;
  void setAccessToken(Text accessToken);

  /// The refresh token (RFC 6749, section 1.5). Absent until signed in; empty after a logout.
  Text refreshToken() const;
  void setRefreshToken(Text refreshToken);

  /// Lifetime of the access token in seconds as the server gave it in "expires_in" (RFC 6749,
  /// section 5.1); "0" after a logout.
  Text expiresIn() const;
  void setExpiresIn(Text expiresIn);

  /// The granted scope (RFC 6749, section 3.3). Stored, but not restored: absent after a restart.
  Text scope() const;
  void setScope(Text scope);

  /// When the access token expires: whole milliseconds since 2001-01-01 00:00:00 UTC, as decimal
  /// text. Absent until the first token answer. Kept for the application; nothing here reads it.
  Text expiresSystime() const;
  void setExpiresSystime(Text expiresSystime);

  /// All fields but the client identifier, one a line, for the log.
  std::string getWholeInfo() const;

private:
  friend class OAuthClient;
  friend class OAuthInfoManager;
  friend class SignInRun;
  friend class TokenRecordStore;

  /// Overwrites its texts at its end.
  struct __attribute__((visibility("hidden"))) Fields {
    Fields() = default;
    Fields(const Fields&) = default;
    Fields(Fields&&) = default;
    Fields& operator=(const Fields&) = default;
    Fields& operator=(Fields&&) = default;
    ~Fields();

    Text clientId;
    Text accessToken;
    Text refreshToken;
    Text expiresIn;
    Text scope;
    Text expiresSystime;
  };
  friend Fields readTokenAnswer(const Data& answer);
  friend std::optional<Fields> readIssuedTokens(const Data& answer, const Fields& before);

  OAuthInfo() = default;

  /// All fields of one moment.
  Fields fields() const;
  /// Returns what `look` does with all fields of one moment, without a copy that would have to be
  /// overwritten. It must be short and call nothing that may use the record.
  template <class Look>
  auto withFields(const Look& look) const {
    const std::lock_guard lock(mutex_);
    return look(fields_);
  }
  /// Writes "OAuth Info" and getWholeInfo() to the log.
  void writeToLog() const;
  // Each of these is one step: nobody reads some of the fields before and others after it.
  /// Exchanges all fields but the client identifier.
  void replaceTokens(Fields& tokens);
  /// Exchanges those that a restart brings back: all but the client identifier and the scope.
  void restoreTokens(Fields& tokens);
  /// What a logout leaves: empty tokens, lifetime "0"; scope and expiry instant stay. Needs no
  /// memory; gives the access token that was there.
  Text clearTokens();
  /// Puts "(null)" where a field other than the client identifier is absent.
  void fillAbsentTokens();
  Text read(Text Fields::*field) const;
  void write(Text Fields::*field, Text value);

  mutable std::mutex mutex_;
  Fields fields_;
};

} // namespace quarnet
