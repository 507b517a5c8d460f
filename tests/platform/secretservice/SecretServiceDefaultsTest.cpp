#include "quarnet/platform/secretservice/SecretServiceDefaults.h"

#include "tests/platform/secretservice/Desktop.h"
#include "tests/platform/sqlite/StoreTest.h"

#include <csignal>
#include <functional>
#include <glib.h>
#include <gmock/gmock.h>

using namespace quarnet::platform;
using quarnet::Text;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char kApplication[] = "com.example.Places";

class SecretServiceTest : public StoreTest {
protected:
  void SetUp() override {
    if (!desktop.trouble().empty()) GTEST_SKIP() << desktop.trouble();
  }

  /// Runs secret-tool on the item; gives what it prints.
  static std::string item(const std::string& command, const std::string& suffix = {},
                          const std::string& input = {}) {
    return Desktop::run(input + "secret-tool " + command +
                        " xdg:schema example.quarnet.UserDefaults " + "application " +
                        kApplication + suffix);
  }
  static pid_t startSaving(const char* key, long first, long last) {
    return inChild([&] {
      return execl(SAVING_PROGRAM, "saving", key, std::to_string(first).c_str(),
                   std::to_string(last).c_str(), nullptr);
    });
  }
  static long restoredGeneration() {
    SecretServiceDefaults restored(kApplication);
    return storedGeneration(restored);
  }

  Desktop desktop;
  SecretServiceDefaults store{kApplication};
};

TEST_F(SecretServiceTest, TextsComeBackByteForByte) {
  using namespace std::string_literals;
  SecretServiceDefaults reader(kApplication);
  for (const Text& text : std::vector<Text>{"한국어"s, "\0a\0b\0"s, "\xff=%\n"s, std::nullopt,
                                            std::string(4'000'000, '\xf0'), ""s}) {
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
  store.setValue("a", std::nullopt);
  store.setValue("k\0y="s, std::nullopt);
  store.synchronize();
  EXPECT_EQ(item("search --all"), "") << "an item that holds nothing is removed";
}

TEST_F(SecretServiceTest, TooMuchIsRefusedAndTheRestIsKept) {
  saveGeneration(store, 1);
  store.setValue("large", std::string(5'000'000, 'x'));
  store.synchronize();
  EXPECT_THAT(log->take(),
              ElementsAre("user defaults cannot be saved : the texts are larger than 4 MiB"));
  EXPECT_EQ(restoredGeneration(), 1);
}

TEST_F(SecretServiceTest, OnlyTheTextIsSecretAndNothingElseSaysIt) {
  store.setValue("access_token", "T0KEN");
  store.synchronize();
  const std::string shown =
      Desktop::run("gdbus call --session -d org.freedesktop.secrets -o "
                   "/org/freedesktop/secrets/collection/login/1"
                   " -m org.freedesktop.DBus.Properties.GetAll org.freedesktop.Secret.Item");
  EXPECT_THAT(shown, HasSubstr(std::string("'Label': <'") + kApplication + " (Quarnet)'>"));
  EXPECT_THAT(shown, Not(HasSubstr("T0KEN")));
  EXPECT_THAT(shown, Not(HasSubstr("access_token")));
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
    desktop.endKeyring();
    kill(saving, SIGKILL);
    statusOf(saving);
    desktop.startKeyring();
    found = restoredGeneration();
    ASSERT_GE(found, before);
  }
}

TEST_F(SecretServiceTest, DamagedItemIsNotReadAndPutAsideByTheNextSave) {
  for (const std::string damaged : {"hunter2", "a=1\nrefresh_tok", "a=%0\n", "b=1\na=1\n", ""}) {
    item("store --label=x", "", "printf %s '" + damaged + "' | ");
    EXPECT_EQ(storedGeneration(store), -2) << damaged;
    EXPECT_THAT(log->take(),
                ElementsAre(HasSubstr("cannot be read : the keyring's item is damaged")));
    saveGeneration(store, 2);
    const auto lines = log->take();
    ASSERT_THAT(lines,
                ElementsAre(HasSubstr("its application is now com.example.Places.damaged-")));
    EXPECT_EQ(item("lookup", lines[0].substr(lines[0].rfind(".damaged-"))), damaged);
    EXPECT_EQ(restoredGeneration(), 2);
  }
}

TEST_F(SecretServiceTest, ItemDeletedByTheUserIsNotThere) {
  saveGeneration(store, 1);
  item("clear");
  EXPECT_EQ(storedGeneration(store), 0);
  saveGeneration(store, 2);
  EXPECT_EQ(restoredGeneration(), 2);
}

TEST_F(SecretServiceTest, NothingElseOfTheProgramRunsInACall) {
  bool hasRun = false;
  g_idle_add([](gpointer flag) { return *static_cast<bool*>(flag) = true, G_SOURCE_REMOVE; },
             &hasRun);
  saveGeneration(store, 1);
  EXPECT_EQ(storedGeneration(store), 1);
  EXPECT_FALSE(hasRun);
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
  const auto descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = descriptors();
  for (int i = 0; i < 50; ++i)
    saveGeneration(store, i);
  EXPECT_LE(descriptors(), before);
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
  EXPECT_TRUE(store.unlock());
  Desktop::lock(); // there is nobody to show a prompt, which counts as dismissed
  EXPECT_FALSE(store.unlock());
  EXPECT_THAT(log->take(),
              ElementsAre("the keyring cannot be unlocked : the request was dismissed"));
  desktop.endKeyring();
  EXPECT_FALSE(store.unlock());
  EXPECT_THAT(log->take(),
              ElementsAre("the keyring cannot be unlocked : this session has no keyring"));
}

TEST_F(SecretServiceTest, NothingIsStoredWhereTheDesktopHasNoKeyringYet) {
  desktop.endKeyring();
  Desktop::run("rm -r $XDG_DATA_HOME/keyrings");
  desktop.startKeyring(nullptr);
  EXPECT_EQ(storedGeneration(store), 0);
  saveGeneration(store, 1);
  EXPECT_FALSE(store.unlock());
  EXPECT_THAT(log->take(),
              ElementsAre("user defaults cannot be saved : the desktop has no default keyring",
                          "the keyring cannot be unlocked : the request was dismissed"));
}

/// What hinders the keyring, and what the log says of it.
struct Hindrance {
  const char* name;
  void (*put)(Desktop&);
  void (*takeAway)(Desktop&);
  const char* said;
};

class HindranceTest : public SecretServiceTest, public testing::WithParamInterface<Hindrance> {};

TEST_P(HindranceTest, KeepsTheValuesSaysItOnceAndSavesThemLater) {
  const auto& [name, put, takeAway, said] = GetParam();
  saveGeneration(store, 1);
  put(desktop);
  saveGeneration(store, 2);
  EXPECT_THAT(log->take(),
              ElementsAre(HasSubstr("user defaults cannot be saved : " + std::string(said))));
  EXPECT_EQ(storedGeneration(store), 2);
  EXPECT_EQ(restoredGeneration(), -2);
  EXPECT_THAT(log->take(),
              ElementsAre(HasSubstr("user defaults cannot be read : " + std::string(said))));
  takeAway(desktop);
  EXPECT_EQ(restoredGeneration(), 1);
  store.setValue("more", "1");
  store.synchronize();
  EXPECT_EQ(restoredGeneration(), 2);
}

const Hindrance kHindrances[] = {
    {"NoBus", [](Desktop& desktop) { desktop.endBus(); },
     [](Desktop& desktop) {
       desktop.startBus();
       desktop.endKeyring();
       desktop.startKeyring();
     },
     "there is no session bus ("},
    {"NoKeyring", [](Desktop& desktop) { desktop.endKeyring(); },
     [](Desktop& desktop) { desktop.startKeyring(); }, "this session has no keyring"},
    {"LockedKeyring", [](Desktop&) { Desktop::lock(); },
     [](Desktop& desktop) {
       desktop.endKeyring();
       desktop.startKeyring();
     },
     "the keyring is locked"},
    {"SilentKeyring", [](Desktop& desktop) { kill(desktop.keyring(), SIGSTOP); },
     [](Desktop& desktop) { kill(desktop.keyring(), SIGCONT); },
     "the keyring did not answer in time"},
    {"SilentBus", [](Desktop& desktop) { kill(desktop.bus(), SIGSTOP); },
     [](Desktop& desktop) { kill(desktop.bus(), SIGCONT); }, "the session bus does not answer"},
};

INSTANTIATE_TEST_SUITE_P(All, HindranceTest, testing::ValuesIn(kHindrances),
                         [](const auto& hindrance) { return hindrance.param.name; });

} // namespace
