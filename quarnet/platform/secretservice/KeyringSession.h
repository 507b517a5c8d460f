#pragma once

#include "quarnet/platform/UnsavedTexts.h"
#include "quarnet/platform/secretservice/Deadline.h"
#include "quarnet/platform/secretservice/RecordText.h"

#include <libsecret/secret.h>

namespace quarnet::platform {

/// One visit to an application's record in the desktop's default keyring, over a connection to the
/// session bus of its own, which ends with it; for one operation. It ends when the patience does.
class KeyringSession {
public:
  /// Why something was not done.
  struct Failure {
    std::string reason;
    /// What the keyring said to it, which may be anything.
    std::string said;
  };

  /// All of the record's texts are to be no larger than this: what lies below ends the process when
  /// it gets no memory.
  static constexpr std::size_t kLargestRecord = std::size_t{4} << 20;

  KeyringSession(const std::string& application, std::chrono::milliseconds patience)
      : application_(application), deadline_(patience) {}
  ~KeyringSession();

  /// The record, empty where nothing was saved; absent with failure(). Changes nothing.
  std::optional<Record> read();

  /// Applies the changes to the record, all of them or none, with failure(). A damaged item is put
  /// aside before, with damage(). Sessions, also those of other processes, take turns.
  bool write(const UnsavedTexts::Changes& changes);

  /// Has the user unlock the keyring, or make one where there is none.
  bool unlock();

  const Failure& failure() const { return failure_; }
  const std::optional<Failure>& damage() const { return damage_; }
  bool hasTimedOut() const { return deadline_.isOver(); }

private:
  bool open();
  bool connect();
  bool findService();
  bool findCollection();
  bool takeTurn();
  bool findItem();
  bool parse(Record& record);
  bool putAside();
  bool store(const Record& record);
  bool remove();
  bool make();
  bool fail(std::string reason, std::string said = {});
  bool fail(GError* error);

  const std::string application_;
  Deadline deadline_;
  Failure failure_;
  std::optional<Failure> damage_;
  bool isMyTurn_ = false;
  Owned<GDBusConnection> connection_;
  Owned<SecretService> service_;
  /// Null where the desktop has no default keyring.
  Owned<SecretCollection> collection_;
  /// Null where nothing was saved.
  Owned<SecretItem> item_;
};

} // namespace quarnet::platform
