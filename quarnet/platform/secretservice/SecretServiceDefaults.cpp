#include "quarnet/platform/secretservice/SecretServiceDefaults.h"

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/platform/secretservice/KeyringSession.h"

#include <atomic>
#include <mutex>
#include <unistd.h>

namespace quarnet::platform {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience(5'000);
/// After a wait in vain, until a read succeeds: a program that reads three times at its start must
/// not be blocked for the long time three times.
constexpr milliseconds kPatienceAgain(200);

using Failure = KeyringSession::Failure;

Failure noMemory() {
  return {"not enough memory", {}};
}

template <std::size_t size>
void tell(const char (&what)[size], const std::optional<Failure>& failure) {
  if (failure) log(what, harmless(failure->reason), failure->said);
}

} // namespace

class SecretServiceDefaults::Implementation {
public:
  explicit Implementation(std::string application) : application_(std::move(application)) {}

  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) {
    std::optional<std::vector<Text>> found;
    std::optional<Failure> failure;
    {
      const std::lock_guard lock(mutex_);
      withinMemory([&] { found = find(keys, failure); }, [&] { failure = noMemory(); });
    }
    tell("user defaults cannot be read : ", failure);
    return found;
  }

  void setValues(std::span<const Entry> entries) {
    const std::lock_guard lock(mutex_);
    unsaved_.set(entries);
  }

  void synchronize() {
    std::optional<Failure> damage;
    std::optional<Failure> failure;
    {
      const std::lock_guard lock(mutex_);
      if (unsaved_.empty()) return;
      withinMemory([&] { save(damage, failure); }, [&] { failure = noMemory(); });
    }
    tell("user defaults cannot be read : ", damage);
    tell("user defaults cannot be saved : ", failure);
  }

  bool unlock(milliseconds patience) {
    std::optional<Failure> failure = ofForkedChild();
    if (!failure) {
      KeyringSession keyring(application_, patience);
      if (!keyring.unlock()) failure = keyring.failure();
    }
    tell("the keyring cannot be unlocked : ", failure);
    return !failure;
  }

private:
  std::optional<std::vector<Text>> find(std::span<const std::string_view> keys,
                                        std::optional<Failure>& failure) {
    std::vector<Text> found(keys.size());
    if (!unsaved_.haveAll(keys) && !read(keys, found, failure)) return std::nullopt;
    unsaved_.overlay(keys, found);
    return found;
  }

  bool read(std::span<const std::string_view> keys, std::vector<Text>& found,
            std::optional<Failure>& failure) {
    failure = ofForkedChild();
    if (failure) return false;
    KeyringSession keyring(application_, patience_);
    auto record = keyring.read();
    patience_ = keyring.hasTimedOut() ? kPatienceAgain : kPatience;
    if (!record) {
      failure = keyring.failure();
      return false;
    }
    const WipeAtEnd wipeRecord(*record);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (const auto text = record->texts.find(keys[i]); text != record->texts.end())
        found[i] = text->second;
    }
    return true;
  }

  void save(std::optional<Failure>& damage, std::optional<Failure>& failure) {
    failure = ofForkedChild();
    if (failure) return;
    KeyringSession keyring(application_, kPatience);
    const bool isSaved = keyring.write(unsaved_.changes());
    damage = keyring.damage();
    if (isSaved) return unsaved_.forget();
    failure = keyring.failure();
  }

  /// GIO's thread, which a connection needs, is not in a child.
  std::optional<Failure> ofForkedChild() {
    pid_t nobody = 0;
    if (user_.compare_exchange_strong(nobody, getpid()) || nobody == getpid()) return std::nullopt;
    return Failure{"it was used before this process was forked", {}};
  }

  std::mutex mutex_;
  const std::string application_;
  UnsavedTexts unsaved_;
  milliseconds patience_ = kPatience;
  /// The process that used the keyring first; 0 until then.
  std::atomic<pid_t> user_ = 0;
};

SecretServiceDefaults::SecretServiceDefaults(std::string application)
    : implementation_(std::make_unique<Implementation>(std::move(application))) {}

SecretServiceDefaults::~SecretServiceDefaults() = default;

bool SecretServiceDefaults::unlock(std::chrono::seconds patience) noexcept {
  return implementation_->unlock(patience);
}

std::optional<std::vector<Text>>
SecretServiceDefaults::values(std::span<const std::string_view> keys) noexcept {
  return implementation_->values(keys);
}

void SecretServiceDefaults::setValues(std::span<const Entry> entries) {
  implementation_->setValues(entries);
}

void SecretServiceDefaults::synchronize() noexcept {
  implementation_->synchronize();
}

} // namespace quarnet::platform
