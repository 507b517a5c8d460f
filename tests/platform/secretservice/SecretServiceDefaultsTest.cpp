#include "quarnet/platform/secretservice/SecretServiceDefaults.h"

#include "tests/platform/sqlite/StoreTest.h"

#include <csignal>
#include <glib.h>
#include <gmock/gmock.h>

using namespace quarnet::platform;
using quarnet::Text;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr char kApplication[] = "com.example.Places";

/// What a shell command prints; with `desktop` for the script of that name.
std::string run(const std::string& command) {
  std::string printed;
  FILE* const pipe = popen(("desktop() { " DESKTOP_SCRIPT " \"$@\"; }; " + command).c_str(), "r");
  for (int byte = fgetc(pipe); byte != EOF; byte = fgetc(pipe))
    printed += static_cast<char>(byte);
  pclose(pipe);
  return printed;
}

/// Runs secret-tool on the application's item.
std::string item(const std::string& command, const std::string& suffix = {}) {
  return run("secret-tool " + command + " xdg:schema example.quarnet.UserDefaults application " +
             kApplication + suffix + " 2>/dev/null");
}

long restoredGeneration() {
  SecretServiceDefaults restored(kApplication);
  return storedGeneration(restored);
}

/// Each test has a desktop session of its own.
class SecretServiceTest : public StoreTest {
protected:
  SecretServiceTest() {
    for (const char* folder :
         {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"})
      setenv(folder, root.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (root / "bus").string()).c_str(), 1);
  }
  void SetUp() override {
    const std::string trouble = run("desktop start");
    if (!trouble.empty()) GTEST_SKIP() << trouble;
  }
  void TearDown() override { run("desktop signal KILL keyring bus"); }

  static pid_t startSaving(const char* key, long first, long last) {
    return inChild([&] {
      return execl(SAVING_PROGRAM, "saving", key, std::to_string(first).c_str(),
                   std::to_string(last).c_str(), nullptr);
    });
  }

  SecretServiceDefaults store{kApplication};
};

TEST_F(SecretServiceTest, TextsComeBackByteForByteAndAreTheOnlySecret) {
  using namespace std::string_literals;
  SecretServiceDefaults reader(kApplication);
  for (const Text& text : std::vector<Text>{"한국어"s, "\0a\0b\0"s, "\xff=%\n"s, std::nullopt,
                                            std::string(1'000'000, '\xf0'), ""s}) {
    store.setValue("k\0y="s, text);
    EXPECT_EQ(store.value("k\0y="s), text);
    store.synchronize();
    EXPECT_EQ(reader.value("k\0y="s), text);
    EXPECT_EQ(reader.value("k"), std::nullopt);
  }
  reader.setValue("a", "1 2");
  EXPECT_EQ(store.value("a"), std::nullopt) << "not saved yet";
  reader.synchronize();
  EXPECT_EQ(item("lookup"), "a=1%202\nk%00y%3D=\n");
  const std::string shown = item("search --all", " 2>&1 | grep -v ^secret");
  EXPECT_THAT(shown, HasSubstr(std::string("label = ") + kApplication + " (Quarnet)\n"));
  EXPECT_THAT(shown, testing::Not(HasSubstr("1%202")));
  store.setValue("large", std::string(5'000'000, 'x'));
  store.synchronize();
  EXPECT_THAT(log->take(), ElementsAre(HasSubstr("be saved : the texts are larger than 4 MiB")));
  for (const char* key : {"large", "a", "k\0y="})
    store.setValue(std::string_view(key, *key == 'k' ? 4 : strlen(key)), std::nullopt);
  store.synchronize();
  EXPECT_EQ(item("search --all"), "") << "an item that holds nothing is removed";
}

TEST_F(SecretServiceTest, ProcessesTakeTurnsAndNobodyReadsHalfASave) {
  const pid_t one = startSaving("one", 1, 40);
  const pid_t other = startSaving("other", 1, 40);
  for (long found = 0; found != 40;) {
    found = storedGeneration(store);
    ASSERT_GE(found, 0) << "torn or not read";
  }
  EXPECT_EQ(statusOf(one), 0);
  EXPECT_EQ(statusOf(other), 0);
  EXPECT_EQ(store.value("one"), "40");
  EXPECT_EQ(store.value("other"), "40") << "one process's save has undone the other's";
}

TEST_F(SecretServiceTest, KeyringThatDiesAtAnyInstantHoldsOneWholeSave) {
  long found = 0;
  for (unsigned round = 0; round < 12; ++round) {
    const pid_t saving = startSaving("key", found + 1, found + 1'000);
    long before = found;
    while (before == found)
      before = storedGeneration(store);
    usleep(round * 7'000);
    run("desktop signal KILL keyring");
    kill(saving, SIGKILL);
    statusOf(saving);
    run("desktop keyring");
    found = restoredGeneration();
    ASSERT_GE(found, before);
  }
}

TEST_F(SecretServiceTest, DamagedItemIsPutAsideByTheNextSaveAndADeletedOneIsNotThere) {
  for (const std::string damaged : {"hunter2", "a=1\nrefresh_tok", "a=%0\n", "b=1\na=1\n", ""}) {
    run("printf %s '" + damaged + "' >$HOME/damaged");
    item("store --label=x", " <$HOME/damaged");
    EXPECT_EQ(storedGeneration(store), -2) << damaged;
    EXPECT_THAT(log->take(), ElementsAre(HasSubstr("be read : the keyring's item is damaged")));
    saveGeneration(store, 2);
    const auto lines = log->take();
    ASSERT_THAT(lines, ElementsAre(HasSubstr("is now com.example.Places.damaged-")));
    EXPECT_EQ(item("lookup", lines[0].substr(lines[0].rfind(".damaged-"))), damaged);
    EXPECT_EQ(restoredGeneration(), 2);
  }
  item("clear");
  EXPECT_EQ(storedGeneration(store), 0);
  saveGeneration(store, 3);
  EXPECT_EQ(restoredGeneration(), 3);
}

TEST_F(SecretServiceTest, NothingElseOfTheProgramRunsInACallAndNothingIsLeftOfIt) {
  bool hasRun = false;
  g_idle_add_once([](gpointer flag) { *static_cast<bool*>(flag) = true; }, &hasRun);
  saveGeneration(store, 1);
  EXPECT_EQ(storedGeneration(store), 1);
  EXPECT_FALSE(hasRun);
  const auto files = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
  const auto before = files();
  for (int i = 0; i < 20; ++i)
    saveGeneration(store, i);
  EXPECT_LT(files(), before + 10); // the last ones may still be closing
}

TEST_F(SecretServiceTest, ForkedChildIsToldAndParentContinues) {
  saveGeneration(store, 1);
  EXPECT_EQ(statusOf(inChild([&] {
              const bool isRefused = storedGeneration(store) == -2;
              saveGeneration(store, 2);
              return isRefused && log->lines().size() == 2 ? 0 : 1;
            })),
            0);
  EXPECT_EQ(storedGeneration(store), 1);
}

TEST_F(SecretServiceTest, UnlockSaysWhatCameOfIt) {
  const std::string start = "the keyring cannot be unlocked : ";
  EXPECT_TRUE(store.unlock());
  run("desktop lock"); // there is nobody to show a prompt, which counts as dismissed
  EXPECT_FALSE(store.unlock());
  EXPECT_THAT(log->take(), ElementsAre(start + "the request was dismissed"));
  run("desktop signal KILL keyring");
  EXPECT_FALSE(store.unlock());
  EXPECT_THAT(log->take(), ElementsAre(start + "this session has no keyring"));
  run("desktop fresh-keyring");
  EXPECT_EQ(storedGeneration(store), 0);
  saveGeneration(store, 1);
  EXPECT_FALSE(store.unlock());
  EXPECT_THAT(log->take(), ElementsAre(HasSubstr("saved : the desktop has no default keyring"),
                                       start + "the request was dismissed"));
}

TEST_F(SecretServiceTest, CommandLineKeepsItsTokensThere) {
  const std::string quarnet = "env -u QUARNET_STORE " QUARNET_PROGRAM " 2>&1 --keyring ";
  run("echo '{\"access_token\":\"T0KEN\"}' | " + quarnet + "token import -");
  EXPECT_THAT(run("secret-tool lookup application example.quarnet.CommandLine"),
              HasSubstr("access_token=T0KEN\n"));
  EXPECT_THAT(run(quarnet + "token --reveal"), HasSubstr("T0KEN"));
  EXPECT_THAT(run(quarnet + "--store x token"), HasSubstr("excludes"));
  run("desktop lock");
  EXPECT_THAT(run(quarnet + "token"), HasSubstr("the keyring is locked"));
}

/// What hinders the keyring, what removes that, and what the log says of it.
struct Hindrance {
  const char* name;
  const char* put;
  const char* takeAway;
  const char* said;
};

class HindranceTest : public SecretServiceTest, public testing::WithParamInterface<Hindrance> {};

TEST_P(HindranceTest, KeepsTheValuesSaysItOnceAndSavesThemLater) {
  const auto& [name, put, takeAway, said] = GetParam();
  saveGeneration(store, 1);
  run(put);
  saveGeneration(store, 2);
  EXPECT_THAT(log->take(), ElementsAre(HasSubstr(std::string("cannot be saved : ") + said)));
  EXPECT_EQ(storedGeneration(store), 2);
  EXPECT_EQ(restoredGeneration(), -2);
  EXPECT_THAT(log->take(), ElementsAre(HasSubstr(std::string("cannot be read : ") + said)));
  run(takeAway);
  EXPECT_EQ(restoredGeneration(), 1);
  store.setValue("more", "1");
  store.synchronize();
  EXPECT_EQ(restoredGeneration(), 2);
}

const Hindrance kHindrances[] = {
    {"NoBus", "desktop signal KILL bus keyring", "desktop start", "there is no session bus ("},
    {"NoKeyring", "desktop signal KILL keyring", "desktop keyring", "this session has no keyring"},
    {"LockedKeyring", "desktop lock", "desktop signal KILL keyring; desktop keyring",
     "the keyring is locked"},
    {"SilentKeyring", "desktop signal STOP keyring", "desktop signal CONT keyring",
     "the keyring did not answer in time"},
    {"SilentBus", "desktop signal STOP bus", "desktop signal CONT bus",
     "the session bus does not answer"},
};

INSTANTIATE_TEST_SUITE_P(All, HindranceTest, testing::ValuesIn(kHindrances),
                         [](const auto& hindrance) { return hindrance.param.name; });

} // namespace
