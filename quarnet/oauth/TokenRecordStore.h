#pragma once

#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/oauth/SessionEvent.h"

#include <functional>

namespace quarnet {

/// The token record together with the user defaults: whatever changes both or copies one to the
/// other is here, under one lock, so that neither ever holds a mix of two sets of tokens and an
/// older set never comes back over a newer one. Safe from any thread.
///
/// The lock is held neither while the store reads or writes its file nor while a line is logged, so
/// that a log may use all of this.
///
/// What a change means for the session is noted in that same step, and the next save() or clear()
/// tells it (SessionEvents). Whoever takes tokens over saves them next, whatever happens.
class TokenRecordStore {
public:
  /// The record's fields of one moment.
  static OAuthInfo::Fields fields() { return OAuthInfo::sharedInstance().fields(); }

  /// Returns what `look` does with them; see OAuthInfo.
  template <class Look>
  static auto withFields(const Look& look) {
    return OAuthInfo::sharedInstance().withFields(look);
  }

  /// Takes tokens over: into the record and among the texts that the next save() writes, in one
  /// step. From then on a restore() finds them. `event` is what this means; without an access token
  /// among them it means that the session before has ended. Throws std::bad_alloc, and nothing has
  /// changed then.
  static void take(OAuthInfo::Fields taken, SessionEvent event);

  /// The same for a reissue, if the record still holds that refresh token; says whether it did.
  static bool takeInPlaceOf(const Text& refreshToken, OAuthInfo::Fields taken);

  /// Drops the tokens as OAuthInfo::clearTokens() says, and saves. Gives the access token that was
  /// dropped; absent when nobody was signed in.
  static Text clear();

  /// Takes over the tokens that another process has saved in place of that refresh token; says
  /// whether the record holds another one now. Not so when the record's were never in the store,
  /// nor when the store has none: who signs out elsewhere does not sign out here.
  static bool catchUp(const Text& refreshToken);

  /// The server does not reissue under that refresh token: tells it, once, if the record still
  /// holds that one. Nothing is dropped.
  static void lose(const Text& refreshToken);

  /// Whether lose() was called for that refresh token, and nothing was taken over since.
  static bool isLost(const Text& refreshToken);

  static void forgetLoss();

  /// Saves the record, durably; a field that is absent removes its entry.
  static void save();

  /// Whether all that was taken over and read from the record before is saved, as far as it could
  /// be. What a crash would lose must not be used: the server may know nothing else any more.
  static bool isSaved();

  /// Calls `ready` once when it is: inside this call, or on the thread that saves. It must not
  /// throw. Throws std::bad_alloc, and `ready` is not called then.
  static void whenSaved(std::function<void()> ready);

  /// Reads the record back, scope and client identifier excepted. The record stays as it is when
  /// the store cannot be read, and when it was taken, cleared or saved in the meantime: it is then
  /// newer than what was read.
  static void restore();

  /// The stored "access_token" and "refresh_token" of one save; empty when no access token is
  /// stored or the store cannot be read.
  static Dictionary storedTokens();

private:
  /// What a restart brings back; absent when the store cannot be read.
  static std::optional<OAuthInfo::Fields> read();
  template <class Change>
  static void saveAfter(const Change& change);
  static void takeLocked(OAuthInfo::Fields& taken, SessionEvent event);
  static void toStore(const OAuthInfo::Fields& record);
};

} // namespace quarnet
