#include "tests/platform/sqlite/StoreTest.h"

#include <atomic>
#include <csignal>
#include <functional>
#include <random>
#include <set>
#include <sqlite3.h>
#include <sys/mman.h>
#include <thread>

using namespace quarnet::platform;
using namespace std::chrono_literals;

namespace {

class StoreFaultTest : public StoreTest {};

/// In memory where there is such a folder: a killed process leaves what it wrote to the system all
/// the same, and 500 rounds take seconds on any disk.
class StoreKillTest : public StoreTest {
protected:
  StoreKillTest()
      : StoreTest(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : fs::temp_directory_path()) {}
};

/// A process that saves record after record.
class Saver {
public:
  Saver(const fs::path& path, long first, long count) {
    process_ = inChild([&] {
      SqliteUserDefaults store(path);
      for (long generation = first; generation < first + count; ++generation) {
        saveGeneration(store, generation);
        *last_ = generation;
      }
      return 0;
    });
  }
  ~Saver() { munmap(last_, sizeof(*last_)); }

  void waitForFirst() const {
    while (last() == 0)
      std::this_thread::sleep_for(100us);
  }
  /// The number of the last save that has returned; 0 before the first.
  long last() const { return *last_; }
  void stop() const { kill(process_, SIGKILL); }
  int wait() const { return statusOf(process_); }

private:
  std::atomic<long>* last_ = static_cast<std::atomic<long>*>(
      mmap(nullptr, sizeof(*last_), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  pid_t process_ = 0;
};

TEST_F(StoreKillTest, KilledAtAnyInstantLeavesOneWholeSave) {
  std::mt19937 random(20240229);
  const fs::path path = root / "in" / "store.sqlite";
  const auto start = std::chrono::steady_clock::now();
  Saver(path, 1, 10).wait();
  const auto aSave = (std::chrono::steady_clock::now() - start) / 10;
  long generation = 0;
  for (int round = 0; round < 500; ++round) {
    // Now and then the first save of all, which makes folder, file and table, is the one to die.
    if (round % 10 == 0) {
      fs::remove_all(root / "in");
      generation = 0;
    }
    Saver saver(path, generation + 1, 1'000'000);
    if (round % 10 != 0) saver.waitForFirst();
    const auto span = round % 10 != 0 ? aSave * 3 / 2 : aSave * 4;
    std::this_thread::sleep_for(span * (random() % 1'000) / 1'000);
    saver.stop();
    ASSERT_EQ(saver.wait(), -SIGKILL);
    const long found = generationIn(path);
    const long reported = std::max(saver.last(), generation);
    ASSERT_GE(found, reported) << "round " << round;
    ASSERT_LE(found, reported + 1) << "round " << round;
    generation = found;
  }
}

TEST_F(StoreKillTest, ProcessesShareTheFileAndReadOnlyWholeSaves) {
  const fs::path path = root / "in" / "store.sqlite";
  Saver one(path, 10'001, 1'000), other(path, 20'001, 1'000);
  SqliteUserDefaults store(path);
  one.waitForFirst();
  std::set<long> seen;
  for (long found = 0, round = 0; round < 2'000 || (found != 11'000 && found != 21'000); ++round) {
    seen.insert(found = storedGeneration(store));
    std::this_thread::sleep_for(100us); // the savers' turn
  }
  EXPECT_GT(*seen.begin(), 0) << "torn or not read";
  EXPECT_GT(seen.size(), 10U);
  EXPECT_EQ(one.wait(), 0);
  EXPECT_EQ(other.wait(), 0);
}

TEST_F(StoreFaultTest, DefaultPlaceIsTheProgramsFolderInTheUsersData) {
  const auto logLinesWith = [this](const char* variable, const fs::path& value) {
    return statusOf(inChild([&] {
      unsetenv("XDG_DATA_HOME");
      setenv(variable, value.c_str(), 1);
      SqliteUserDefaults store("");
      saveGeneration(store, 1);
      return static_cast<int>(log->lines().size());
    }));
  };
  EXPECT_EQ(logLinesWith("XDG_DATA_HOME", root), 0);
  EXPECT_EQ(generationIn(root / "sqlite_tests" / "quarnet.sqlite"), 1);
  EXPECT_EQ(logLinesWith("HOME", "/proc/nowhere"), 1);
}

/// Something in the way of a save into in/s: shell commands that put it there and take it away, and
/// what another program does to the file before, whose connection stays open until then.
struct Obstacle {
  const char* name;
  const char* put;
  const char* takeAway;
  const char* sql = "";
  bool isForAnOpening = false; // does not hinder who has the file open already
};

class ObstacleTest : public StoreTest, public testing::WithParamInterface<Obstacle> {
protected:
  bool run(const std::string& command) const {
    return std::system(("cd " + root.string() + " && " + command + " 2> /dev/null").c_str()) == 0;
  }
};

TEST_P(ObstacleTest, KeepsTheValuesSaysItOnceAndSavesThemLater) {
  signal(SIGXFSZ, SIG_IGN);
  const auto& [name, put, takeAway, sql, isForAnOpening] = GetParam();
  const fs::path path = root / "in" / "s";
  auto store = std::make_unique<SqliteUserDefaults>(path);
  saveGeneration(*store, 1);
  auto reader = std::make_unique<SqliteUserDefaults>(path);
  EXPECT_EQ(storedGeneration(*reader), 1);
  sqlite3* other = nullptr;
  sqlite3_open(path.c_str(), &other);
  ASSERT_EQ(sqlite3_exec(other, sql, nullptr, nullptr, nullptr), SQLITE_OK);
  if (!run(put)) GTEST_SKIP() << "this system or user cannot make it";
  for (auto* const opened : {&store, &reader}) {
    if (isForAnOpening) *opened = std::make_unique<SqliteUserDefaults>(path);
  }
  for (const long generation : {2, 3}) {
    saveGeneration(*store, generation);
    const std::vector<std::string> lines = log->take();
    ASSERT_EQ(lines.size(), 1U) << testing::PrintToString(lines);
    const std::string start = "user defaults cannot be saved : " + path.string() + ": ";
    EXPECT_TRUE(lines[0].starts_with(start) && lines[0].size() > start.size()) << lines[0];
    EXPECT_EQ(storedGeneration(*store), generation);
  }
  const long found = storedGeneration(*reader);
  EXPECT_TRUE(found == -2 || found == 0 || found == 1) << found;
  EXPECT_EQ(log->take().size(), found == -2 ? 1U : 0U);
  EXPECT_TRUE(found == 1 || !std::string_view(name).starts_with("ReadOnly"));
  EXPECT_TRUE(found == -2 || !std::string_view(name).ends_with("OfAnotherUser"));
  EXPECT_TRUE(found == -2 || !std::string_view(name).starts_with("Link"));
  sqlite3_close(other);
  EXPECT_TRUE(run(takeAway));
  store->setValue("more", "1");
  store->synchronize();
  EXPECT_EQ(generationIn(path), 3);
}

const Obstacle kObstacles[] = {
    {"FileInPlaceOfTheFolder", "rm -r in; touch in", "rm in"},
    {"FolderInPlaceOfTheFile", "rm in/s; mkdir in/s", "rmdir in/s"},
    {"PipeInPlaceOfTheFile", "rm in/s; mkfifo in/s", "rm in/s"},
    {"LinkThatLeadsNowhere", "rm in/s; ln -s nowhere in/s", "rm in/s"},
    {"LinkToItself", "rm in/s; ln -s s in/s", "rm in/s"},
    {"NotADatabase", "seq 2000 > in/s", "rm in/s"},
    {"ReadOnlyFile", "chmod 444 in/s", "test $(stat -c %a in/s) = 400 && chmod 600 in/s"},
    {"DamagedFileThatIsReadOnly", "truncate -s 9000 in/s && chmod 400 in/s", "rm in/s", "", true},
    {"ReadOnlyFolder",
     "if [ $(id -u) = 0 ]; then mount --bind in in && mount -o remount,bind,ro in; "
     "else rm in/s-journal && chmod 500 in; fi",
     "if [ $(id -u) = 0 ]; then umount -l in; else chmod 700 in; fi"},
    {"FullDisk", "mount -t tmpfs -o size=8k none in", "umount -l in"},
    {"NoFileMayGrow",
     "prlimit --pid $PPID --fsize=2000:", "prlimit --pid $PPID --fsize=unlimited:"},
    {"LockedForTooLong", "true", "true", "BEGIN EXCLUSIVE"},
    {"FileOfAnotherUser", "chown 65533 in/s", "chown 0 in/s"},
    {"JournalOfAnotherUser", "chown 65533 in/s-journal", "chown 0 in/s-journal"},
    {"JournalThatIsALink",
     "rm in/s-journal; touch in/my && chmod 644 in/my && ln -s my in/s-journal",
     "test $(stat -c %a in/my) = 644 && rm in/s-journal"},
    {"LinkOfAnotherUser", "mv in/s in/my && ln -s my in/s && chown -h 65533 in/s",
     "chown -h 0 in/s", "", true},
    {"ViewThatNeverEnds", "true", "rm in/s",
     "DROP TABLE user_defaults; CREATE VIEW user_defaults AS WITH RECURSIVE c(key, value) AS "
     "(VALUES('', '') UNION ALL SELECT key || 'x', value FROM c) SELECT * FROM c"},
    {"TableOfAnotherShape", "true", "rm in/s",
     "DROP TABLE user_defaults; CREATE TABLE user_defaults(key, value, x)"},
    {"TriggerOfAnotherProgram", "true", "rm in/s",
     "CREATE TRIGGER t AFTER INSERT ON user_defaults BEGIN DELETE FROM user_defaults; END", true},
};

INSTANTIATE_TEST_SUITE_P(Store, ObstacleTest, testing::ValuesIn(kObstacles),
                         [](const auto& obstacle) { return obstacle.param.name; });

TEST_F(StoreFaultTest, ADamagedFileIsMovedAsideAndNeverHalfUsed) {
  const fs::path whole = root / "whole";
  saveGeneration(*std::make_unique<SqliteUserDefaults>(whole), 6);
  const std::uintmax_t size = fs::file_size(whole);
  const auto overwritten = [](std::uintmax_t from, std::size_t count, char byte) {
    return [=](const fs::path& path) {
      std::fstream(path).seekp(static_cast<long>(from)) << std::string(count, byte);
    };
  };
  const std::pair<const char*, std::function<void(const fs::path&)>> damages[] = {
      {"all pages", overwritten(100, 30'000, '\xff')},
      {"size of a page", overwritten(16, 2, '\x07')},
      {"the table's root", overwritten(4'096, 4'096, '\0')},
      {"a page of a long text", overwritten(size - 4'096, 4, '\x55')},
      {"half of it", [=](const fs::path& path) { fs::resize_file(path, size / 2); }},
      {"all but its start", [](const fs::path& path) { fs::resize_file(path, 50); }},
  };
  for (const auto& [name, damage] : damages) {
    SCOPED_TRACE(name);
    for (const bool isSaving : {false, true}) {
      const fs::path folder = root / "in";
      const fs::path path = folder / "store.sqlite";
      fs::create_directory(folder);
      fs::copy_file(whole, path);
      std::ofstream(folder / "store.sqlite-journal") << "";
      damage(path);
      SqliteUserDefaults store(path);
      EXPECT_EQ(isSaving ? -2 : storedGeneration(store), -2);
      if (isSaving) saveGeneration(store, 7);
      const std::vector<std::string> lines = log->take();
      ASSERT_EQ(lines.size(), 1U) << testing::PrintToString(lines);
      EXPECT_EQ(lines[0].find("user defaults cannot be read : " + path.string() + ": "), 0U);
      const std::size_t told = lines[0].find(path.string() + ".damaged-");
      ASSERT_NE(told, std::string::npos) << lines[0];
      EXPECT_TRUE(fs::exists(lines[0].substr(told)));
      EXPECT_TRUE(fs::exists(lines[0].substr(told) + "-journal"));
      EXPECT_EQ(generationIn(path), isSaving ? 7 : 0);
      fs::remove_all(folder);
    }
  }
}

TEST_F(StoreFaultTest, RootsFileMayBeReadByAll) {
  if (geteuid() != 0) GTEST_SKIP() << "not root";
  const fs::path path = root / "store.sqlite";
  saveGeneration(*std::make_unique<SqliteUserDefaults>(path), 1);
  for (const fs::path& opened : {root, path})
    fs::permissions(opened, fs::perms(0755));
  const pid_t child = inChild([&] {
    if (setresuid(65534, 65534, 65534) != 0) return 2;
    SqliteUserDefaults store(path);
    return storedGeneration(store) == 1 ? 0 : 1;
  });
  const int status = statusOf(child);
  if (status == 2) GTEST_SKIP() << "this namespace has no other user";
  EXPECT_EQ(status, 0);
}

} // namespace
