#pragma once

#include "quarnet/oauth/OAuthInfo.h"

namespace quarnet {

/// The token record together with the user defaults: whatever changes both or copies one to the
/// other is here, under one lock, so that neither ever holds a mix of two sets of tokens and an
/// older set never comes back over a newer one. Safe from any thread.
///
/// The lock is held neither while the store reads or writes its file nor while a line is logged, so
/// that a log may use all of this.
class TokenRecordStore {
public:
  /// The record's fields of one moment.
  static OAuthInfo::Fields fields() { return OAuthInfo::sharedInstance().fields(); }

  /// Takes tokens over: into the record and among the texts that the next save() writes, in one
  /// step. From then on a restore() finds them. Throws std::bad_alloc, and nothing has changed
  /// then.
  static void take(OAuthInfo::Fields taken);

  /// Drops the tokens as OAuthInfo::clearTokens() says, and saves.
  static void clear();

  /// Saves the record, durably; a field that is absent removes its entry.
  static void save();

  /// Reads the record back, scope and client identifier excepted. The record stays as it is when
  /// the store cannot be read, and when it was taken, cleared or saved in the meantime: it is then
  /// newer than what was read.
  static void restore();

  /// The stored "access_token" and "refresh_token" of one save; empty when no access token is
  /// stored or the store cannot be read.
  static Dictionary storedTokens();

private:
  static void saveAfter(void (*change)());
  static void toStore(const OAuthInfo::Fields& record);
};

} // namespace quarnet
