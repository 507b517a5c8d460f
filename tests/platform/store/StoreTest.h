#pragma once

#include "tests/platform/store/Generation.h"

#include "quarnet/platform/Platform.h"
#include "quarnet/platform/sqlite/SqliteUserDefaults.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <mutex>
#include <sstream>
#include <vector>

namespace fs = std::filesystem;

class RecordingLog final : public quarnet::platform::Log {
public:
  void write(Line line) override {
    const std::lock_guard lock(mutex_);
    lines_.push_back(text(line));
  }

  /// The lines since the last call.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }

private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// A folder of its own for each test, with the log caught; nothing in it may log unasked.
class StoreTest : public testing::Test {
protected:
  explicit StoreTest(const fs::path& parent = fs::temp_directory_path()) {
    std::string name = (parent / "quarnet-store-XXXXXX").string();
    root = mkdtemp(name.data());
    quarnet::platform::Platform::install({.log = log});
  }

  ~StoreTest() override {
    EXPECT_EQ(log->take(), std::vector<std::string>());
    fs::remove_all(root);
  }

  long generationIn(const fs::path& path) {
    quarnet::platform::SqliteUserDefaults store(path);
    return storedGeneration(store);
  }

  fs::path root;
  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
};
