#include "quarnet/platform/sqlite/DefaultsDatabase.h"

#include <system_error>

namespace quarnet::platform {
namespace {

/// Binds bytes as they are, NUL included. They must outlive the step.
bool bindText(sqlite3_stmt* statement, int index, std::string_view text) {
  const char* bytes = text.data() != nullptr ? text.data() : "";
  return sqlite3_bind_text64(statement, index, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8) ==
         SQLITE_OK;
}

std::string reasonOf(sqlite3* connection) {
  std::string reason = sqlite3_errmsg(connection);
  const int kind = sqlite3_errcode(connection) & 0xff;
  if (kind == SQLITE_CANTOPEN || kind == SQLITE_IOERR) {
    const std::error_code cause(sqlite3_system_errno(connection), std::generic_category());
    if (cause) reason += " (" + cause.message() + ")";
  }
  return reason;
}

} // namespace

std::unique_ptr<DefaultsDatabase> DefaultsDatabase::open(const std::string& path, int patience,
                                                         std::string& reason) {
  sqlite3* connection = nullptr;
  const int outcome = sqlite3_open_v2(path.c_str(), &connection,
                                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  std::unique_ptr<DefaultsDatabase> database(new DefaultsDatabase(Connection(connection)));
  if (outcome == SQLITE_OK && database->configure(patience)) return database;
  reason = database->reason();
  return nullptr;
}

bool DefaultsDatabase::isInPlace() const {
  int moved = 0;
  sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved == 0;
}

bool DefaultsDatabase::read(std::span<const std::string_view> keys, std::vector<Text>& values,
                            int patience) {
  values.assign(keys.size(), std::nullopt);
  sqlite3_busy_timeout(connection_.get(), patience);
  if (!prepareReading()) {
    // The text of the statement is sound, so the table is not there: nothing has been saved yet.
    return sqlite3_errcode(connection_.get()) == SQLITE_ERROR;
  }
  if (!run(begin_)) return false;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!select(keys[i], values[i])) return false;
  }
  return run(commit_);
}

bool DefaultsDatabase::write(const Changes& changes, int patience) {
  sqlite3_busy_timeout(connection_.get(), patience);
  if (!execute("BEGIN IMMEDIATE") || !prepareWriting()) return false;
  for (const auto& [key, value] : changes) {
    if (!store(key, value)) return false;
  }
  return execute("COMMIT");
}

std::string DefaultsDatabase::reason() const {
  return reasonOf(connection_.get());
}

bool DefaultsDatabase::configure(int patience) {
  sqlite3_busy_timeout(connection_.get(), patience);
  // TRUNCATE with FULL flushes the end of the journal as well, so a save is durable when it
  // returns, and costs fewer flushes than DELETE, which needs EXTRA for that. No earlier token
  // stays behind: the journal is emptied, and secure_delete overwrites what a save frees. A
  // write-ahead log would have to be checkpointed and truncated by every save for the same, and
  // cannot be read in a read-only folder.
  return execute("PRAGMA journal_mode = TRUNCATE") && execute("PRAGMA synchronous = FULL") &&
         execute("PRAGMA secure_delete = ON");
}

bool DefaultsDatabase::execute(const char* sql) {
  return sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool DefaultsDatabase::prepare(Statement& statement, std::string_view sql) {
  sqlite3_stmt* prepared = nullptr;
  const int outcome =
      sqlite3_prepare_v3(connection_.get(), sql.data(), static_cast<int>(sql.size()),
                         SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
  statement.reset(prepared);
  return outcome == SQLITE_OK;
}

bool DefaultsDatabase::prepareReading() {
  return select_ || (prepare(begin_, "BEGIN") && prepare(commit_, "COMMIT") &&
                     prepare(select_, "SELECT value FROM user_defaults WHERE key = ?1"));
}

/// Inside the transaction, so that a file never holds a table without the save that made it.
bool DefaultsDatabase::prepareWriting() {
  if (insert_ && remove_) return true;
  return execute("CREATE TABLE IF NOT EXISTS user_defaults("
                 "key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID") &&
         prepare(insert_, "INSERT INTO user_defaults VALUES(?1, ?2) "
                          "ON CONFLICT(key) DO UPDATE SET value = excluded.value") &&
         prepare(remove_, "DELETE FROM user_defaults WHERE key = ?1");
}

bool DefaultsDatabase::run(Statement& statement) {
  sqlite3_step(statement.get());
  return sqlite3_reset(statement.get()) == SQLITE_OK;
}

bool DefaultsDatabase::select(std::string_view key, Text& value) {
  sqlite3_stmt* const statement = select_.get();
  if (!bindText(statement, 1, key)) return false;
  if (sqlite3_step(statement) == SQLITE_ROW) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, 0));
    if (bytes != nullptr) value.emplace(bytes, size);
  }
  return sqlite3_reset(statement) == SQLITE_OK;
}

bool DefaultsDatabase::store(const std::string& key, const Text& value) {
  Statement& statement = value ? insert_ : remove_;
  return bindText(statement.get(), 1, key) && (!value || bindText(statement.get(), 2, *value)) &&
         run(statement);
}

} // namespace quarnet::platform
