#pragma once

#include "quarnet/core/Data.h"

#include <map>
#include <memory>
#include <span>
#include <sqlite3.h>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// One open SQLite file with one table of text by key. Of one thread at a time. After a failure the
/// object is good for nothing but reason() and its destruction, which undoes what is not committed.
class DefaultsDatabase {
public:
  /// What a save sets; an absent text removes the entry.
  using Changes = std::map<std::string, Text, std::less<>>;

  /// Opens a file that exists, to read only where it cannot be written. Null with the reason when
  /// it cannot be opened. Here and below, another process's transaction is waited for up to
  /// `patience` milliseconds.
  static std::unique_ptr<DefaultsDatabase> open(const std::string& path, int patience,
                                                std::string& reason);

  /// Whether the file that was opened is still the one at its path.
  bool isInPlace() const;

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

  explicit DefaultsDatabase(Connection connection) : connection_(std::move(connection)) {}

  bool configure(int patience);
  bool execute(const char* sql);
  bool prepare(Statement& statement, std::string_view sql);
  bool prepareReading();
  bool prepareWriting();
  bool run(Statement& statement);
  bool select(std::string_view key, Text& value);
  bool store(const std::string& key, const Text& value);

  Connection connection_;
  // Prepared once; null until first needed.
  Statement begin_;
  Statement select_;
  Statement commit_;
  Statement insert_;
  Statement remove_;
};

} // namespace quarnet::platform
