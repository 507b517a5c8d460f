#include "quarnet/platform/sqlite/SqliteUserDefaults.h"

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/platform/DataFolder.h"
#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/platform/UnsavedTexts.h"
#include "quarnet/platform/sqlite/DefaultsDatabase.h"
#include "quarnet/platform/sqlite/PrivateFile.h"

#include <cerrno>
#include <filesystem>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace quarnet::platform {
namespace {

/// Milliseconds to wait for another process that has the file locked.
constexpr int kPatience = 5'000;
/// The same after a wait in vain, until a read succeeds: a program that reads three times at its
/// start must not be blocked for the long time three times.
constexpr int kPatienceAgain = 200;

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

  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) {
    std::string failure;
    {
      const std::lock_guard lock(mutex_);
      std::vector<Text> found(keys.size());
      const auto find = [&] {
        const bool isKnown = unsaved_.haveAll(keys) || read(keys, found, failure);
        if (isKnown) unsaved_.overlay(keys, found);
        return isKnown;
      };
      const bool isKnown = withinMemory(find, [&] {
        file_.reset();
        failure = described("not enough memory");
        return false;
      });
      patience_ = isKnown ? kPatience : kPatienceAgain;
      if (isKnown) return found;
    }
    log("user defaults cannot be read : ", harmless(failure));
    return std::nullopt;
  }

  void setValues(std::span<const Entry> entries) {
    const std::lock_guard lock(mutex_);
    unsaved_.set(entries);
  }

  void synchronize() {
    std::string damage;
    std::string failure;
    {
      const std::lock_guard lock(mutex_);
      if (unsaved_.empty()) return;
      if (write(damage, failure)) unsaved_.forget();
    }
    if (!damage.empty()) log("user defaults cannot be read : ", harmless(damage));
    if (!failure.empty()) log("user defaults cannot be saved : ", harmless(failure));
  }

private:
  bool read(std::span<const std::string_view> keys, std::vector<Text>& found,
            std::string& failure) {
    if (!hasFile()) {
      // With nothing at the path, nothing was ever saved. A link to a missing file is something:
      // that file may be on a disk that is not mounted, and hold a record.
      struct stat there {};
      if (lstat(path().c_str(), &there) != 0 && errno == ENOENT) return true;
      if (!openFile(patience_, failure)) return false;
    }
    if (file_->read(keys, found, patience_)) return true;
    failure = described(file_->reason());
    file_.reset();
    return false;
  }

  bool write(std::string& damage, std::string& failure) {
    if (!hasFile() && !makeFile(failure)) {
      if (!isMovedAside_) return false;
      // The damaged file was moved aside: the save makes a new one in its place.
      damage.swap(failure);
      if (!makeFile(failure)) return false;
    }
    if (file_->write(unsaved_.changes(), kPatience)) return true;
    failure = described(file_->reason());
    file_.reset();
    return false;
  }

  bool makeFile(std::string& failure) {
    isMovedAside_ = false;
    const std::error_code error = makePrivateFile(path());
    if (error) failure = described(error.message());
    return !error && openFile(kPatience, failure);
  }

  /// Whether the file is open and still the one at the path.
  bool hasFile() {
    leaveFileOfParent();
    if (file_ && !file_->isInPlace(path())) file_.reset();
    return file_ != nullptr;
  }

  bool openFile(int patience, std::string& failure) {
    DefaultsDatabase::Refusal refusal;
    file_ = DefaultsDatabase::open(path(), patience, refusal);
    forks_ = forkCount();
    if (!file_) failure = described(refusal.reason);
    isMovedAside_ = refusal.isMovedAside;
    return file_ != nullptr;
  }

  /// After a fork, the file that the parent opened is released and not closed: closing it would
  /// undo a save of the parent that has not ended.
  void leaveFileOfParent() {
    if (file_ && forks_ != forkCount()) static_cast<void>(file_.release());
  }

  const std::string& path() {
    if (path_.empty()) path_ = absolutePath(dataFolder() + "/quarnet.sqlite");
    return path_;
  }

  std::string described(const std::string& reason) { return path() + ": " + reason; }

  std::mutex mutex_;
  std::string path_;
  UnsavedTexts unsaved_;
  std::unique_ptr<DefaultsDatabase> file_;
  /// forkCount() when the file was opened.
  unsigned forks_ = 0;
  /// Whether the last opening found a damaged file and gave it another name.
  bool isMovedAside_ = false;
  int patience_ = kPatience;
};

SqliteUserDefaults::SqliteUserDefaults(std::string path)
    : implementation_(std::make_unique<Implementation>(std::move(path))) {}

SqliteUserDefaults::~SqliteUserDefaults() = default;

std::optional<std::vector<Text>>
SqliteUserDefaults::values(std::span<const std::string_view> keys) noexcept {
  return implementation_->values(keys);
}

void SqliteUserDefaults::setValues(std::span<const Entry> entries) {
  implementation_->setValues(entries);
}

void SqliteUserDefaults::synchronize() noexcept {
  implementation_->synchronize();
}

} // namespace quarnet::platform
