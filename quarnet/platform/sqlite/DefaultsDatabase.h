#pragma once

#include "quarnet/core/Types.h"
#include "quarnet/platform/sqlite/PrivateFile.h"

#include <map>
#include <memory>
#include <span>
#include <sqlite3.h>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// One open SQLite file with one table of text by key. To be used by one thread at a time. After a
/// failure only reason() and the destructor may be called, which undoes what is not committed.
class DefaultsDatabase {
public:
  /// What a save sets; an absent text removes the entry.
  using Changes = std::map<std::string, Text, std::less<>>;

  /// Why a file was not opened.
  struct Refusal {
    std::string reason;
    /// The file was damaged and has been given another name, which is in the reason.
    bool isMovedAside = false;
  };

  /// Opens a file that exists, for reading only where it cannot or must not be written, and checks
  /// whether it is sound. Null with the reason when it must not be used: a damaged file is moved
  /// aside unless it is read-only, every other one stays where it is. Here and below, another
  /// process's transaction is waited for up to `patience` milliseconds.
  static std::unique_ptr<DefaultsDatabase> open(const std::string& path, int patience,
                                                Refusal& refusal);

  /// Whether the file that was opened is still the one at `path`, with the owner and mode that it
  /// had.
  bool isInPlace(const std::string& path) const;

  /// Gives the texts under `keys` in their order, absent where there is none, all of them from one
  /// transaction.
  bool read(std::span<const std::string_view> keys, std::vector<Text>& values, int patience);

  /// Applies all changes as one transaction, durable when it returns true; nothing of it is left
  /// otherwise.
  bool write(const Changes& changes, int patience);

  /// Why the last operation failed.
  std::string reason() const;

private:
  struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Connection = std::unique_ptr<sqlite3, Close>;
  using Statement = std::unique_ptr<sqlite3_stmt, Close>;

  DefaultsDatabase(Connection connection, const FoundFile& found)
      : found_(found), connection_(std::move(connection)) {}

  bool hasMoved() const;
  bool configure(int patience);
  bool isSound();
  bool isDamaged();
  bool trustsJournals();
  bool findTable(bool& isThere);
  bool execute(const char* sql);
  bool prepare(Statement& statement, std::string_view sql);
  bool prepareReading();
  bool prepareWriting();
  bool run(Statement& statement);
  bool select(std::string_view key, Text& value);
  bool store(const std::string& key, const Text& value);

  FoundFile found_;
  Connection connection_;
  /// Why the file is not used, where the reason is not SQLite's.
  std::string ownReason_;
  bool isUnsound_ = false;
  // Prepared once; null until first needed.
  Statement begin_;
  Statement select_;
  Statement commit_;
  Statement insert_;
  Statement remove_;
};

} // namespace quarnet::platform
