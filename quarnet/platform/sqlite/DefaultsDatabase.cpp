#include "quarnet/platform/sqlite/DefaultsDatabase.h"

#include "quarnet/platform/sqlite/PrivateFile.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

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

constexpr std::string_view kTable =
    "CREATE TABLE user_defaults(key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID";

/// In steps of SQLite's. Ours need far fewer: one that needs more was made to block the process.
constexpr int kLongestStatement = 50'000'000;

/// Gives a damaged file a name with the time when it was found. Its journal is first: beside a new
/// file it would be taken for that file's. Returns what was done, for the log.
std::string moveAside(const std::string& path) {
  using namespace std::chrono;
  const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  const std::string aside = path + ".damaged-" + std::to_string(now);
  const auto isMoved = [&](const char* suffix) {
    return rename((path + suffix).c_str(), (aside + suffix).c_str()) == 0 || errno == ENOENT;
  };
  if (isMoved("-journal") && isMoved("-wal") && isMoved("")) return "moved to " + aside;
  return "cannot be moved aside: " + std::generic_category().message(errno);
}

} // namespace

std::unique_ptr<DefaultsDatabase> DefaultsDatabase::open(const std::string& path, int patience,
                                                         Refusal& refusal) {
  const auto found = findPrivateFile(path, refusal.reason);
  if (!found) return nullptr;
  sqlite3* connection = nullptr;
  const int mode = found->isReadOnly() ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
  const int outcome =
      sqlite3_open_v2(path.c_str(), &connection, mode | SQLITE_OPEN_NOMUTEX, nullptr);
  std::unique_ptr<DefaultsDatabase> database(new DefaultsDatabase(Connection(connection), *found));
  if (outcome == SQLITE_OK && (database->hasMoved() || !database->isInPlace(path))) {
    refusal.reason = "this was replaced while it was opened";
    return nullptr;
  }
  if (outcome == SQLITE_OK && database->configure(patience) && database->isSound()) return database;
  refusal.reason = database->reason();
  if (outcome == SQLITE_OK && !found->isReadOnly() && database->isDamaged() &&
      database->isInPlace(path)) {
    refusal.reason += "; " + moveAside(path);
    refusal.isMovedAside = access(path.c_str(), F_OK) != 0;
  }
  return nullptr;
}

bool DefaultsDatabase::isInPlace(const std::string& path) const {
  return found_.isStillAt(path);
}

/// Whether the file that SQLite opened is no longer at its path.
bool DefaultsDatabase::hasMoved() const {
  int moved = 0;
  sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved != 0;
}

bool DefaultsDatabase::read(std::span<const std::string_view> keys, std::vector<Text>& values,
                            int patience) {
  values.assign(keys.size(), std::nullopt);
  sqlite3_busy_timeout(connection_.get(), patience);
  bool isThere = select_ != nullptr;
  if (!trustsJournals() || (!isThere && !findTable(isThere))) return false;
  if (!isThere) return true; // nothing has been saved yet
  if (!prepareReading()) return false;
  if (!run(begin_)) return false;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!select(keys[i], values[i])) return false;
  }
  return run(commit_);
}

bool DefaultsDatabase::write(const Changes& changes, int patience) {
  sqlite3_busy_timeout(connection_.get(), patience);
  if (!trustsJournals() || !execute("BEGIN IMMEDIATE") || !prepareWriting()) return false;
  for (const auto& [key, value] : changes) {
    if (!store(key, value)) return false;
  }
  return execute("COMMIT");
}

std::string DefaultsDatabase::reason() const {
  return !ownReason_.empty() ? ownReason_ : reasonOf(connection_.get());
}

bool DefaultsDatabase::configure(int patience) {
  sqlite3* const connection = connection_.get();
  sqlite3_busy_timeout(connection, patience);
  sqlite3_progress_handler(
      connection, kLongestStatement, [](void*) { return 1; }, nullptr);
  // No code that a file contains, such as a trigger, is run.
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  for (const int feature : {SQLITE_DBCONFIG_TRUSTED_SCHEMA, SQLITE_DBCONFIG_ENABLE_TRIGGER,
                            SQLITE_DBCONFIG_ENABLE_VIEW})
    sqlite3_db_config(connection, feature, 0, nullptr);
  // TRUNCATE with FULL flushes the end of the journal as well, so a save is durable when it
  // returns, and costs fewer flushes than DELETE, which needs EXTRA for that. No earlier token
  // stays behind: the journal is emptied, and secure_delete overwrites what a save frees. A
  // write-ahead log would have to be checkpointed and truncated by every save for the same, and
  // cannot be read in a read-only folder.
  return trustsJournals() && execute("PRAGMA journal_mode = TRUNCATE") &&
         execute("PRAGMA synchronous = FULL") && execute("PRAGMA secure_delete = ON");
}

bool DefaultsDatabase::isSound() {
  Statement check;
  if (!prepare(check, "PRAGMA quick_check(1)")) return false;
  if (sqlite3_step(check.get()) != SQLITE_ROW) return false;
  const auto* const found = reinterpret_cast<const char*>(sqlite3_column_text(check.get(), 0));
  if (found != nullptr && std::string_view(found) == "ok") return true;
  isUnsound_ = true;
  ownReason_ = "database disk image is malformed";
  return false;
}

/// Whether the last failure says that the file is damaged. A file that does not start as a database
/// does is none: it is another program's and is left alone.
bool DefaultsDatabase::isDamaged() {
  constexpr std::string_view kStart("SQLite format 3\0", 16);
  const int kind = sqlite3_errcode(connection_.get()) & 0xff;
  if (isUnsound_ || kind == SQLITE_CORRUPT) return true;
  if (!ownReason_.empty() || kind != SQLITE_NOTADB) return false;
  sqlite3_file* file = nullptr;
  sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
  char start[kStart.size()];
  return file != nullptr && file->pMethods->xRead(file, start, sizeof(start), 0) == SQLITE_OK &&
         std::string_view(start, sizeof(start)) == kStart;
}

/// SQLite writes to the file whatever a journal beside it says, so a journal has to be as
/// trustworthy as the file.
bool DefaultsDatabase::trustsJournals() {
  const char* const file = sqlite3_db_filename(connection_.get(), "main");
  for (const char* const journal : {sqlite3_filename_journal(file), sqlite3_filename_wal(file)}) {
    std::string refusal;
    struct stat link {};
    // SQLite never makes a link there, and the target of one must not be touched.
    if (lstat(journal, &link) == 0 && S_ISLNK(link.st_mode)) {
      refusal = "this is a link";
    } else if (findPrivateFile(journal, refusal)) {
      continue;
    }
    ownReason_ = std::string(journal) + ": " + refusal;
    return false;
  }
  return true;
}

/// Looks for the table. Anything else of its name is refused, as is an index or a trigger on it:
/// this class makes none, and what they compute could take for ever.
bool DefaultsDatabase::findTable(bool& isThere) {
  Statement objects;
  if (!prepare(objects, "SELECT sql FROM sqlite_schema "
                        "WHERE name = 'user_defaults' COLLATE NOCASE "
                        "OR tbl_name = 'user_defaults' COLLATE NOCASE"))
    return false;
  isThere = false;
  int outcome = sqlite3_step(objects.get());
  for (; outcome == SQLITE_ROW; outcome = sqlite3_step(objects.get())) {
    const auto* const sql = reinterpret_cast<const char*>(sqlite3_column_text(objects.get(), 0));
    isThere = sql != nullptr && sql == kTable;
    if (isThere) continue;
    ownReason_ = "its user_defaults is another program's";
    return false;
  }
  return outcome == SQLITE_DONE;
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
  bool isThere = false;
  return findTable(isThere) && (isThere || execute(kTable.data())) &&
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
