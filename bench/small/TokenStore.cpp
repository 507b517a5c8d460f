#include "bench/small/Pairs.h"
#include "bench/support/Failure.h"
#include "bench/support/Setting.h"

#include "quarnet/oauth/OAuthInfoManager.h"

#include <array>
#include <sqlite3.h>
#include <string>

namespace quarnet::bench {
namespace {

using Row = std::pair<std::string, std::string>;

/// Tokens that differ from save to save, so that there is something to write.
std::string token(int number) {
  return "token-" + std::to_string(1'000'000 + number) + "-0123456789abcdef0123456789abcdef";
}

/// The same table by hand: prepared statements, one transaction a save, durable and without
/// remainders of earlier tokens as the library's store is.
class RawStore {
public:
  explicit RawStore(const std::string& path) {
    check(sqlite3_open(path.c_str(), &connection_) == SQLITE_OK, "the yardstick's file opens");
    execute("PRAGMA journal_mode = TRUNCATE");
    execute("PRAGMA synchronous = FULL");
    execute("PRAGMA secure_delete = ON");
    execute("CREATE TABLE IF NOT EXISTS user_defaults("
            "key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID");
    prepare(insert_, "INSERT INTO user_defaults VALUES(?1, ?2) "
                     "ON CONFLICT(key) DO UPDATE SET value = excluded.value");
    prepare(select_, "SELECT value FROM user_defaults WHERE key = ?1");
    prepare(begin_, "BEGIN IMMEDIATE");
    prepare(commit_, "COMMIT");
  }

  void save(const std::array<Row, 5>& rows) {
    step(begin_);
    for (const auto& [key, value] : rows) {
      bind(insert_, 1, key);
      bind(insert_, 2, value);
      step(insert_);
    }
    step(commit_);
  }

  std::string read(const std::string& key) {
    bind(select_, 1, key);
    check(sqlite3_step(select_) == SQLITE_ROW, "the row is there");
    std::string value = reinterpret_cast<const char*>(sqlite3_column_text(select_, 0));
    sqlite3_reset(select_);
    return value;
  }

private:
  void execute(const char* sql) {
    check(sqlite3_exec(connection_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
  }
  void prepare(sqlite3_stmt*& statement, const char* sql) {
    check(sqlite3_prepare_v2(connection_, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
  }
  static void bind(sqlite3_stmt* statement, int index, const std::string& text) {
    sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  }
  static void step(sqlite3_stmt* statement) {
    check(sqlite3_step(statement) == SQLITE_DONE, "the statement runs");
    sqlite3_reset(statement);
  }

  sqlite3* connection_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
  sqlite3_stmt* begin_ = nullptr;
  sqlite3_stmt* commit_ = nullptr;
};

std::array<Row, 5> record(int number) {
  return {{{"access_token", token(number)},
           {"refresh_token", token(-number)},
           {"expires_in", "3600"},
           {"scope", "profile"},
           {"expires_systime", std::to_string(785'000'000'000 + number)}}};
}

RawStore& rawStore() {
  static RawStore* const instance = new RawStore(Setting::current().folder + "/raw.sqlite");
  return *instance;
}

} // namespace

void addTokenStore() {
  rawStore().save(record(0));
  add({.what = "saving the token record",
       .measure = "time, against five rows in one SQLite transaction",
       .bound = atMost(1.2),
       .ours = repeat([number = 0]() mutable {
         OAuthInfo& info = OAuthInfo::sharedInstance();
         ++number;
         info.setAccessToken(token(number));
         info.setRefreshToken(token(-number));
         info.setExpiresIn("3600");
         info.setScope("profile");
         info.setExpiresSystime(std::to_string(785'000'000'000 + number));
         OAuthInfoManager::sharedInstance().saveOAuthInfo();
         return number;
       }),
       .yardstick = repeat([number = 0]() mutable {
         rawStore().save(record(++number));
         return number;
       }),
       .byTheClock = true});
  add({.what = "restoring the token record",
       .measure = "time, against five selects on a prepared statement",
       .bound = atMost(1.2),
       .ours = repeat([] {
         OAuthInfoManager::sharedInstance().restoreOAuthInfo();
         return 0;
       }),
       .yardstick = repeat([] {
         for (const char* key :
              {"access_token", "refresh_token", "expires_in", "scope", "expires_systime"}) {
           benchmark::DoNotOptimize(rawStore().read(key));
         }
         return 0;
       })});
}

} // namespace quarnet::bench
