#include "quarnet/platform/sqlite/SqliteUserDefaults.h"

#include "quarnet/platform/Platform.h"
#include "quarnet/platform/glib/DataFolder.h"
#include "quarnet/platform/sqlite/DefaultsDatabase.h"
#include "quarnet/platform/sqlite/PrivateFile.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <pthread.h>
#include <unistd.h>

namespace quarnet::platform {
namespace {

constexpr int kPatience = 5'000; // milliseconds

/// How many forks lie between this process and the one that first opened a file. Counted by a
/// handler, since asking for the process at every read would show in its time.
constinit std::atomic<int> forks = 0;

void countForks() {
  static const int registered = pthread_atfork(nullptr, nullptr, [] { ++forks; });
  static_cast<void>(registered);
}

/// Nanoseconds of a clock that moves in ticks of some milliseconds and costs next to nothing.
std::int64_t coarseTime() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

/// Fixed once, so that a program that changes its working directory keeps its file.
std::string absolutePath(const std::string& path) {
  std::error_code error;
  std::string absolute = std::filesystem::absolute(path, error).string();
  return error ? path : absolute;
}

} // namespace

class SqliteUserDefaults::Implementation {
public:
  explicit Implementation(std::string path) : path_(std::move(path)) {
    if (!path_.empty()) path_ = absolutePath(path_);
  }

  ~Implementation() { leaveFileOfParent(); }

  Text value(std::string_view key) {
    std::string failure;
    Text found;
    {
      const std::lock_guard lock(mutex_);
      if (const auto entry = pending_.find(key); entry != pending_.end()) return entry->second;
      if (read(key, found, failure)) {
        readFailed_ = false;
        return found;
      }
      // One line for a file that cannot be read, not one for each of its values.
      if (std::exchange(readFailed_, true)) return std::nullopt;
    }
    log("user defaults cannot be read : ", harmless(failure));
    return std::nullopt;
  }

  void setValue(std::string_view key, Text value) {
    const std::lock_guard lock(mutex_);
    pending_.insert_or_assign(std::string(key), std::move(value));
  }

  void synchronize() {
    std::string failure;
    {
      const std::lock_guard lock(mutex_);
      if (pending_.empty()) return;
      if (write(failure)) {
        pending_.clear();
        return;
      }
    }
    log("user defaults cannot be saved : ", harmless(failure));
  }

private:
  bool read(std::string_view key, Text& found, std::string& failure) {
    // A lock that outlasted one wait is not waited for again, or five values would take five waits.
    const int patience = readFailed_ ? 0 : kPatience;
    if (!hadFile()) {
      // Nothing was ever saved.
      if (access(path().c_str(), F_OK) != 0 && errno == ENOENT) return true;
      if (!openFile(patience, failure)) return false;
    }
    if (file_->read(key, found, patience)) return true;
    failure = described(file_->reason());
    file_.reset();
    return false;
  }

  bool write(std::string& failure) {
    if (!hasFile()) {
      if (const std::error_code error = makePrivateFile(path())) {
        failure = described(error.message());
        return false;
      }
      if (!openFile(kPatience, failure)) return false;
    }
    if (file_->write(pending_, kPatience)) return true;
    failure = described(file_->reason());
    file_.reset();
    return false;
  }

  /// Whether the file is open and still the one at the path.
  bool hasFile() {
    leaveFileOfParent();
    if (file_ && !file_->isInPlace()) file_.reset();
    lookedAt_ = coarseTime();
    return file_ != nullptr;
  }

  /// The same for reads, which look for the path once in a tick of the coarse clock, some
  /// milliseconds: looking for it at every value would be a fifth of the time to restore a record.
  bool hadFile() {
    return (file_ && forksBefore_ == forks && lookedAt_ == coarseTime()) || hasFile();
  }

  bool openFile(int patience, std::string& failure) {
    countForks();
    tightenMode(path());
    tightenMode(path() + "-journal");
    std::string reason;
    file_ = DefaultsDatabase::open(path(), patience, reason);
    forksBefore_ = forks;
    if (!file_) failure = described(reason);
    return file_ != nullptr;
  }

  /// After a fork, the file that the parent opened is given up and not closed: closing it would
  /// undo the save that the parent may be in the middle of.
  void leaveFileOfParent() {
    if (file_ && forksBefore_ != forks) static_cast<void>(file_.release());
  }

  const std::string& path() {
    if (path_.empty()) path_ = absolutePath(dataFolder() + "/quarnet.sqlite");
    return path_;
  }

  std::string described(const std::string& reason) { return path() + ": " + reason; }

  std::mutex mutex_;
  std::string path_;
  /// Set or removed and not yet saved.
  DefaultsDatabase::Changes pending_;
  std::unique_ptr<DefaultsDatabase> file_;
  int forksBefore_ = 0;
  std::int64_t lookedAt_ = 0;
  bool readFailed_ = false;
};

SqliteUserDefaults::SqliteUserDefaults(std::string path)
    : implementation_(std::make_unique<Implementation>(std::move(path))) {}

SqliteUserDefaults::~SqliteUserDefaults() = default;

Text SqliteUserDefaults::value(std::string_view key) {
  return implementation_->value(key);
}

void SqliteUserDefaults::setValue(std::string_view key, Text value) {
  implementation_->setValue(key, std::move(value));
}

void SqliteUserDefaults::synchronize() {
  implementation_->synchronize();
}

} // namespace quarnet::platform
