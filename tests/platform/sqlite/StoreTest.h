#pragma once

#include "tests/support/LibraryTest.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

/// A record of five texts that all carry one number, long enough for several pages.
inline constexpr std::array<std::string_view, 5> kRecordKeys = {
    "access_token", "refresh_token", "expires_in", "scope", "expires_systime"};

inline std::string generationText(long generation) {
  const auto size = static_cast<std::size_t>(1000 + generation % 7 * 900);
  return std::to_string(generation) + ":" +
         std::string(size, static_cast<char>('a' + generation % 26));
}

inline void saveGeneration(quarnet::platform::UserDefaults& store, long generation) {
  for (const std::string_view key : kRecordKeys)
    store.setValue(key, generationText(generation));
  store.synchronize();
}

/// The number that all five texts carry; 0 when all are absent, -1 for a mix, -2 when they cannot
/// be read.
inline long storedGeneration(quarnet::platform::UserDefaults& store) {
  const auto texts = store.values(kRecordKeys);
  if (!texts) return -2;
  const quarnet::Text& first = texts->front();
  const long generation = first ? std::atol(first->c_str()) : 0;
  for (const quarnet::Text& text : *texts) {
    if (text != (first ? quarnet::Text(generationText(generation)) : first)) return -1;
  }
  return generation;
}

/// Runs the work in a process of its own, whose status is its outcome.
template <class Work>
pid_t inChild(const Work& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work());
  return child;
}

/// Waits for the process's end; gives its status, negative for the signal that ended it.
inline int statusOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// A folder of its own for each test, with the log caught; nothing in it may log unasked.
class StoreTest : public testing::Test {
protected:
  explicit StoreTest(const fs::path& parent = fs::temp_directory_path())
      : root(quarnet::test::makeFolder(parent)) {
    quarnet::platform::Platform::install({.log = log});
  }

  ~StoreTest() override {
    EXPECT_EQ(log->take(), std::vector<std::string>());
    fs::remove_all(root);
  }

  static long generationIn(const fs::path& path) {
    quarnet::platform::SqliteUserDefaults store(path);
    return storedGeneration(store);
  }

  const fs::path root;
  const std::shared_ptr<quarnet::test::RecordingLog> log =
      std::make_shared<quarnet::test::RecordingLog>();
};
