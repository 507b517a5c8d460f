#pragma once

#include "quarnet/core/Callback.h"
#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"
#include "quarnet/oauth/OAuthInfo.h"

#include <memory>
#include <mutex>
#include <string>

namespace quarnet {

class OAuthClient;
class Registration;

/// The session of the signed-in user: configuration, stored tokens, reissue, revocation, login and
/// logout. One per process, made on first use and never destroyed.
///
/// Configure it at start-up: setClientId(), setClientSecret(), setScope() and, if the default does
/// not fit, setRedirect_uri(). What is not set is sent as the text "(null)", which the server
/// refuses.
///
/// Operations are meant for the main thread; some of them block it for up to 60 seconds. The
/// fields may be read and written from any thread.
class QUARNET_EXPORT OAuthInfoManager {
public:
  /// The one manager of the process. Safe from any thread.
  static OAuthInfoManager& sharedInstance();

  /// The one manager, as from all the ordinary ways to make, copy and hold an object; it is never
  /// released.
  /// @{
  static OAuthInfoManager& allocWithZone() { return sharedInstance(); }
  OAuthInfoManager& copyWithZone() { return *this; }
  OAuthInfoManager& retain() { return *this; }
  OAuthInfoManager& autorelease() { return *this; }
  void release() {}
  unsigned long retainCount() const { return ~0UL; }
  /// @}

  /// Makes a new login screen and gives response_type(), redirect_uri() and grant_type() their
  /// defaults; other fields keep their values. Run by the first sharedInstance().
  OAuthInfoManager& init();

  OAuthInfoManager(const OAuthInfoManager&) = delete;
  OAuthInfoManager& operator=(const OAuthInfoManager&) = delete;

  /// The token record.
  OAuthInfo& oAuthInfo() const { return OAuthInfo::sharedInstance(); }

  /// The login screen that every login opens.
  std::shared_ptr<OAuthClient> oAuthClient() const;
  void setOAuthClient(std::shared_ptr<OAuthClient> oAuthClient);

  /// The client identifier (RFC 6749, section 2.2); setting it sets the token record's, too.
  Text clientId() const;
  void setClientId(Text clientId);

  /// The client secret (RFC 6749, section 2.3.1).
  Text clientSecret() const;
  void setClientSecret(Text clientSecret);

  /// Requested scope (RFC 6749, section 3.3).
  Text scope() const;
  void setScope(Text scope);

  /// Authorization code of the last sign-in (RFC 6749, section 4.1.2).
  Text code() const;
  void setCode(Text code);

  /// Response type of the authorization request (RFC 6749, section 3.1.1). Default "code".
  Text response_type() const;
  void setResponse_type(Text responseType);

  /// Redirect address (RFC 6749, section 3.1.2). Default "about:blank".
  Text redirect_uri() const;
  void setRedirect_uri(Text redirectUri);

  /// Grant type of the code exchange (RFC 6749, section 4.1.3). Default "authorization_code".
  Text grant_type() const;
  void setGrant_type(Text grantType);

  /// What an authorization error left behind (RFC 6749, section 4.1.2.1). Absent after most errors:
  /// it holds the query value whose key is the error code.
  Text error() const;
  void setError(Text error);

  /// The authorization error's description, still percent-escaped.
  Text errorDesc() const;
  void setErrorDesc(Text errorDesc);

  /// The object that is called back when an asynchronous logout has ended; null for none. It must
  /// be of the operations' own class and is not owned: before it dies, call set_target(nullptr) on
  /// the main thread, and for a login that of oAuthClient(). Nothing calls it any more then, a call
  /// that is under way included.
  void* _target() const;
  void set_target(void* target);
  /// Its operation for a revocation that the server confirmed; null for none.
  Operation _finishedSelector() const;
  void set_finishedSelector(Operation finished);
  /// Its operation for everything else; null for none.
  Operation _failedSelector() const;
  void set_failedSelector(Operation failed);

  /// Signs the user in. Tokens that are stored are reissued first, which blocks for up to 60
  /// seconds; when that succeeds nothing is shown and nobody is called back: the new token is in
  /// the record. Otherwise the login screen opens, and the two operations are called as
  /// OAuthClient::loginFinishedFailed() says.
  template <class T>
  void loginFinishedFailed(T* target, std::type_identity_t<Method<T>> finished,
                           std::type_identity_t<Method<T>> failed) {
    loginFinishedFailed(makeCallback(target, finished, failed));
  }
  void loginFinishedFailed(std::nullptr_t, Operation finished, Operation failed) {
    loginFinishedFailed({nullptr, finished, failed});
  }
  void loginFinishedFailed(CallbackTriple callback);
  /// The same without callbacks.
  void login();

  /// Registers who is called back and signs the user out as revokeTokenToServerAsynch() does: "RD"
  /// carries the server's answer, "RM" a transport error. Returns at once.
  template <class T>
  void logoutFinishedFailed(T* target, std::type_identity_t<Method<T>> finished,
                            std::type_identity_t<Method<T>> failed) {
    logoutFinishedFailed(makeCallback(target, finished, failed));
  }
  void logoutFinishedFailed(std::nullptr_t, Operation finished, Operation failed) {
    logoutFinishedFailed({nullptr, finished, failed});
  }
  void logoutFinishedFailed(CallbackTriple callback);
  /// Signs the user out, blocking; drops the tokens only when the server confirmed.
  void logout();

  // What follows moves tokens between an answer, the record and the store. Each set of tokens moves
  // as a whole, whatever other threads and processes do: nothing ever holds a mix of two, and what
  // was read from the store earlier never overwrites what was taken over later.

  /// Writes the token record to the user defaults, durably; a field that is absent removes its
  /// entry.
  void saveOAuthInfo();

  /// Reads the token record back, the scope and the client identifier excepted. When the store
  /// cannot be read, the log says so and the record stays as it is.
  void restoreOAuthInfo();

  /// Copies the token fields of `info`, which is the token record, into it: an absent one becomes
  /// "(null)".
  void setOAuthInfo(const OAuthInfo& info);

  /// The token record itself, in which every absent token field now holds "(null)".
  OAuthInfo& getOAuthInfo();

  /// The stored "access_token" and "refresh_token" of one save; empty when no access token is
  /// stored or the store cannot be read.
  Dictionary getOAuthInfoDictionary();

  /// Takes over and saves a token endpoint's JSON answer (RFC 6749, section 5.1). A member that is
  /// missing overwrites its field with "(null)". An answer that is too large for the memory changes
  /// nothing.
  void setOAuthInfoWithJSON(const Data& answer);

  /// The address that reissues the access token (RFC 6749, section 6).
  std::string getAccessTokenReissueURL();

  /// The address that revokes the access token.
  std::string getRevokeTokenUrl();

  /// Blocks. Whether a new token was taken over and saved; otherwise nothing has changed.
  bool reissueAccessToken();

  /// Blocks. Whether the server confirmed; changes nothing here.
  bool revokeTokenToServer();

  /// Revokes the token without blocking. Whatever the server answers, the tokens are dropped here;
  /// then _finishedSelector() or, without "success" in the answer, _failedSelector() is called on
  /// the main thread. When no answer comes the tokens stay and _failedSelector() is called with the
  /// reason in "RM". An empty answer changes nothing and calls nobody.
  void revokeTokenToServerAsynch();

  /// Sends the GET of revokeTokenToServerAsynch() to `url`.
  void readUrl(const std::string& url);

private:
  struct Fields {
    Text clientId;
    Text clientSecret;
    Text scope;
    Text code;
    Text responseType;
    Text redirectUri;
    Text grantType;
    Text error;
    Text errorDesc;
  };

  OAuthInfoManager();

  Text read(Text Fields::*field) const;
  void write(Text Fields::*field, Text value);
  /// Throws std::bad_alloc, and nothing has changed then.
  void takeAndSave(const Data& answer);

  mutable std::mutex mutex_;
  Fields fields_;
  std::shared_ptr<OAuthClient> oAuthClient_;
  const std::shared_ptr<Registration> registration_;
};

} // namespace quarnet
