#include "quarnet/oauth/TokenRecordStore.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/oauth/SessionEvents.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/OfProcess.h"
#include "quarnet/platform/Platform.h"

#include <atomic>
#include <iterator>
#include <vector>

namespace quarnet {
namespace {

/// Held for a moment, so that whoever asks how far saving has come never waits for the store.
std::mutex& noting() {
  static std::mutex* const instance = [] {
    auto* const made = new std::mutex;
    platform::holdInForks(*made);
    return made;
  }();
  return *instance;
}

/// Held while the record and the store are made equal, which may wait for a save.
std::mutex& copying() {
  static std::mutex* const instance = [] {
    noting(); // the locks of these three are taken within it
    OAuthInfo::sharedInstance();
    SessionEvents::tell();
    auto* const made = new std::mutex;
    platform::holdInForks(*made);
    return made;
  }();
  return *instance;
}

/// How often they were; changed under the lock.
constinit std::atomic<std::uint64_t> copies = 0;

/// How far saving has come; changed while noting, the first one while copying. A forked child has
/// its own.
struct Saving {
  std::atomic<std::uint64_t> taken = 0;
  /// How many of those that were taken over are saved.
  std::atomic<std::uint64_t> saved = 0;
  std::vector<std::function<void()>> waiting;
};

Saving& saving() {
  return platform::ofProcess<Saving>();
}

void noteSaved(std::uint64_t taken) {
  std::vector<std::function<void()>> ready;
  {
    const std::lock_guard lock(noting());
    if (taken > saving().saved) saving().saved = taken;
    if (TokenRecordStore::isSaved()) ready.swap(saving().waiting);
  }
  for (const auto& call : ready)
    call();
}

/// The refresh token that the server refused since tokens were taken over; for who is noting.
Text& lost() {
  static Text* const instance = new Text;
  return *instance;
}

/// The refresh token that the record and the store had in common last; under the lock.
Text& common() {
  static Text* const instance = new Text;
  return *instance;
}

platform::UserDefaults& store() {
  return *platform::Platform::current().userDefaults;
}

} // namespace

void TokenRecordStore::take(OAuthInfo::Fields taken, SessionEvent event) {
  const std::lock_guard lock(copying());
  takeLocked(taken, event);
}

bool TokenRecordStore::takeInPlaceOf(const Text& refreshToken, OAuthInfo::Fields taken) {
  const std::lock_guard lock(copying());
  if (fields().refreshToken != refreshToken) return false;
  takeLocked(taken, SessionEvent::Reissued);
  return true;
}

/// The lock is held. Throws std::bad_alloc.
void TokenRecordStore::takeLocked(OAuthInfo::Fields& taken, SessionEvent event) {
  const bool isSession = isToken(taken.accessToken);
  auto& counts = saving();
  toStore(taken); // first, since it may throw
  ++counts.taken; // before anyone can read the record
  OAuthInfo::sharedInstance().replaceTokens(taken);
  forgetLoss();
  if (isSession) return SessionEvents::note(event);
  if (isToken(taken.accessToken)) SessionEvents::note(SessionEvent::SignedOut); // the one before
}

Text TokenRecordStore::clear() {
  Text dropped;
  saveAfter([&dropped] {
    dropped = OAuthInfo::sharedInstance().clearTokens();
    if (!isToken(dropped)) dropped.reset();
    if (dropped) SessionEvents::note(SessionEvent::SignedOut);
  });
  return dropped;
}

void TokenRecordStore::lose(const Text& refreshToken) {
  {
    const std::lock_guard lock(copying());
    if (!isToken(refreshToken) || isLost(refreshToken)) return;
    if (fields().refreshToken != refreshToken) return;
    {
      const std::lock_guard note(noting());
      lost() = refreshToken;
    }
    SessionEvents::note(SessionEvent::SessionLost);
  }
  SessionEvents::tell();
}

bool TokenRecordStore::isLost(const Text& refreshToken) {
  const std::lock_guard lock(noting());
  return refreshToken && refreshToken == lost();
}

void TokenRecordStore::forgetLoss() {
  const std::lock_guard lock(noting());
  lost().reset();
}

void TokenRecordStore::save() {
  saveAfter([] {});
}

template <class Change>
void TokenRecordStore::saveAfter(const Change& change) {
  std::uint64_t taken = 0;
  const auto set = [&] {
    const std::lock_guard lock(copying());
    taken = saving().taken;
    change();
    toStore(fields());
  };
  withinMemory(set, [] { platform::log("user defaults cannot be saved : ", kNotEnoughMemory); });
  store().synchronize();
  noteSaved(taken);
  SessionEvents::tell();
}

bool TokenRecordStore::isSaved() {
  const Saving& counts = saving();
  return counts.saved == counts.taken;
}

void TokenRecordStore::whenSaved(std::function<void()> ready) {
  {
    const std::lock_guard lock(noting());
    if (!isSaved()) return saving().waiting.push_back(std::move(ready));
  }
  ready();
}

std::optional<OAuthInfo::Fields> TokenRecordStore::read() {
  const std::string_view keys[] = {VORNEL_HEADER_ACCESS_TOKEN, VORNEL_HEADER_REFRESH_TOKEN,
                                   VORNEL_OAUTH_END_EXPIRES_IN, VORNEL_OAUTH_EXPIRES_SYSTIME};
  auto stored = store().values(keys);
  if (!stored || stored->size() != std::size(keys)) return std::nullopt;
  OAuthInfo::Fields tokens;
  tokens.accessToken.swap((*stored)[0]);
  tokens.refreshToken.swap((*stored)[1]);
  tokens.expiresIn.swap((*stored)[2]);
  tokens.expiresSystime.swap((*stored)[3]);
  return tokens;
}

void TokenRecordStore::restore() {
  const std::uint64_t before = copies;
  auto stored = read();
  if (!stored) return;
  const std::lock_guard lock(copying());
  if (copies != before) return;
  common() = stored->refreshToken;
  // The scope is stored for others to read and is not restored: this is meant.
  OAuthInfo::sharedInstance().restoreTokens(*stored);
}

bool TokenRecordStore::catchUp(const Text& refreshToken) {
  auto stored = read();
  {
    const std::lock_guard lock(copying());
    if (fields().refreshToken != refreshToken) return true;
    if (common() != refreshToken || !stored || !isToken(stored->accessToken)) return false;
    if (stored->refreshToken == refreshToken) return false;
    common() = stored->refreshToken;
    OAuthInfo::sharedInstance().restoreTokens(*stored);
    ++copies;
    SessionEvents::note(SessionEvent::Reissued);
  }
  SessionEvents::tell();
  return true;
}

Dictionary TokenRecordStore::storedTokens() {
  const std::string_view keys[] = {VORNEL_HEADER_ACCESS_TOKEN, VORNEL_HEADER_REFRESH_TOKEN};
  auto values = store().values(keys);
  Dictionary stored;
  if (!values || values->size() != std::size(keys)) return stored;
  for (std::size_t i = 0; i < std::size(keys); ++i) {
    Text& value = (*values)[i];
    if (!value) break; // without an access token the refresh token is not shown either
    stored[std::string(keys[i])] = std::move(*value);
  }
  return stored;
}

/// Sets the record's fields in the store, all or none; the lock is held. Throws std::bad_alloc.
void TokenRecordStore::toStore(const OAuthInfo::Fields& record) {
  const platform::UserDefaults::Entry entries[] = {
      {VORNEL_HEADER_ACCESS_TOKEN, record.accessToken},
      {VORNEL_HEADER_REFRESH_TOKEN, record.refreshToken},
      {VORNEL_OAUTH_END_EXPIRES_IN, record.expiresIn},
      {VORNEL_OAUTH_END_SCOPE, record.scope},
      {VORNEL_OAUTH_EXPIRES_SYSTIME, record.expiresSystime}};
  common() = record.refreshToken;
  store().setValues(entries);
  ++copies;
}

} // namespace quarnet
