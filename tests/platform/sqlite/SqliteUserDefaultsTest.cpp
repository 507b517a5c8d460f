#include "tests/platform/sqlite/StoreTest.h"

#include <sys/stat.h>
#include <thread>

using namespace quarnet::platform;
using quarnet::Text;

namespace {

class SqliteUserDefaultsTest : public StoreTest {};

unsigned modeOf(const fs::path& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

std::string everythingIn(const fs::path& folder) {
  std::ostringstream all;
  for (const auto& entry : fs::directory_iterator(folder))
    all << std::ifstream(entry.path()).rdbuf();
  return all.str();
}

TEST_F(SqliteUserDefaultsTest, TextsComeBackByteForByte) {
  using namespace std::string_literals;
  const std::vector<Text> texts = {
      ""s,         "plain"s,     "한국어"s, "\0a\0b\0"s, "\xff\xfe"s,
      "\xed\xa0"s, std::nullopt, "(null)"s, "'; --"s,    std::string(3'000'000, 'x')};
  const fs::path path = root / "new" / "folders" / "store.sqlite";
  SqliteUserDefaults saving(path);
  for (const Text& text : texts) {
    saving.setValue("k\0y"s, text);
    EXPECT_EQ(saving.value("k\0y"s), text);
    saving.synchronize();
    SqliteUserDefaults restored(path);
    EXPECT_EQ(restored.value("k\0y"s), text);
    EXPECT_EQ(restored.value("k"), std::nullopt);
    EXPECT_EQ(restored.value({}), std::nullopt);
  }
}

TEST_F(SqliteUserDefaultsTest, OthersSeeWhatWasSavedAndNothingEarlier) {
  const fs::path path = root / "store.sqlite";
  SqliteUserDefaults one(path);
  SqliteUserDefaults other(path);
  EXPECT_EQ(other.value("a"), std::nullopt);
  EXPECT_FALSE(fs::exists(path)) << "looking must not make the file";
  one.setValue("a", "1");
  one.setValue("b", "1");
  EXPECT_EQ(other.value("a"), std::nullopt);
  one.synchronize();
  EXPECT_EQ(other.value("a"), "1");
  other.setValue("a", std::nullopt);
  EXPECT_EQ(other.value("a"), std::nullopt);
  EXPECT_EQ(one.value("a"), "1");
  other.synchronize();
  EXPECT_EQ(one.value("a"), std::nullopt);
  EXPECT_EQ(one.value("b"), "1");
}

TEST_F(SqliteUserDefaultsTest, OnlyTheOwnerMayReadWhateverTheUmask) {
  for (const mode_t mask : {0000U, 0022U, 0777U}) {
    const fs::path top = root / std::to_string(mask);
    const fs::path path = top / "in" / "store.sqlite";
    const mode_t before = umask(mask);
    SqliteUserDefaults store(path);
    saveGeneration(store, 1);
    saveGeneration(store, 2);
    umask(before);
    EXPECT_EQ(modeOf(top), 0700U);
    EXPECT_EQ(modeOf(top / "in"), 0700U);
    for (const auto& file : fs::directory_iterator(top / "in"))
      EXPECT_EQ(modeOf(file.path()), 0600U) << file.path();
  }
  const fs::path wide = root / "wide";
  fs::create_directory(wide);
  chmod(wide.c_str(), 0755);
  for (const char* name : {"store.sqlite", "store.sqlite-journal"}) {
    std::ofstream(wide / name).close();
    chmod((wide / name).c_str(), 0666);
  }
  SqliteUserDefaults store(wide / "store.sqlite");
  saveGeneration(store, 1);
  EXPECT_EQ(modeOf(wide), 0755U);
  EXPECT_EQ(modeOf(wide / "store.sqlite"), 0600U);
  EXPECT_EQ(modeOf(wide / "store.sqlite-journal"), 0600U);
}

TEST_F(SqliteUserDefaultsTest, NoEarlierTokenStaysInTheFolder) {
  SqliteUserDefaults store(root / "store.sqlite");
  std::vector<std::string> secrets;
  for (const std::size_t length : {20U, 900U, 20'000U, 30U}) {
    secrets.push_back("secret" + std::to_string(length) + std::string(length, 's'));
    store.setValue("access_token", secrets.back());
    store.synchronize();
    EXPECT_NE(everythingIn(root).find(secrets.back().substr(0, 20)), std::string::npos);
  }
  store.setValue("access_token", std::nullopt);
  store.synchronize();
  const std::string left = everythingIn(root);
  for (const std::string& secret : secrets)
    EXPECT_EQ(left.find(secret.substr(0, 20)), std::string::npos) << secret.size();
  EXPECT_EQ(left.find("ssssssss"), std::string::npos);
}

TEST_F(SqliteUserDefaultsTest, FollowsAFileThatIsDeletedOrReplaced) {
  const fs::path path = root / "store.sqlite";
  SqliteUserDefaults store(path);
  saveGeneration(store, 1);
  fs::remove(path);
  EXPECT_EQ(storedGeneration(store), 0);
  saveGeneration(store, 2);
  for (const fs::path& dated : {path, root})
    quarnet::test::dateIn2040(dated);
  EXPECT_EQ(generationIn(path), 2);
  SqliteUserDefaults elsewhere(root / "other.sqlite");
  saveGeneration(elsewhere, 3);
  fs::rename(root / "other.sqlite", path);
  EXPECT_EQ(storedGeneration(store), 3);
  fs::remove_all(root);
  saveGeneration(store, 4);
  EXPECT_EQ(generationIn(path), 4);
}

TEST_F(SqliteUserDefaultsTest, RelativePathOutlivesAChangeOfFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(root);
  SqliteUserDefaults store("store.sqlite");
  fs::current_path(before);
  saveGeneration(store, 1);
  EXPECT_EQ(generationIn(root / "store.sqlite"), 1);
}

TEST_F(SqliteUserDefaultsTest, ForkedChildAndParentBothContinue) {
  const fs::path path = root / "store.sqlite";
  SqliteUserDefaults store(path);
  saveGeneration(store, 1);
  const pid_t child = inChild([&] {
    const bool restored = storedGeneration(store) == 1;
    saveGeneration(store, 2);
    return restored && storedGeneration(store) == 2 ? 0 : 1;
  });
  EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(storedGeneration(store), 2);
  saveGeneration(store, 3);
  EXPECT_EQ(generationIn(path), 3);
}

TEST_F(SqliteUserDefaultsTest, ThreadsShareOneStore) {
  SqliteUserDefaults store(root / "store.sqlite");
  std::vector<std::jthread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&store, key = "k" + std::to_string(number)] {
      for (int round = 0; round < 20; ++round) {
        store.setValue(key, std::to_string(round));
        EXPECT_EQ(store.value(key), std::to_string(round));
        store.synchronize();
        EXPECT_EQ(store.value(key), std::to_string(round));
      }
    });
  }
}

} // namespace
