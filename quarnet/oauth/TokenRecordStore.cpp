#include "quarnet/oauth/TokenRecordStore.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/platform/Platform.h"

#include <atomic>
#include <iterator>

namespace quarnet {
namespace {

/// Held while the record and the store are made equal.
constinit std::mutex copying;
/// How often they were; changed under the lock.
constinit std::atomic<std::uint64_t> copies = 0;

platform::UserDefaults& store() {
  return *platform::Platform::current().userDefaults;
}

} // namespace

void TokenRecordStore::take(OAuthInfo::Fields taken) {
  const std::lock_guard lock(copying);
  toStore(taken); // first, since it may throw
  OAuthInfo::sharedInstance().replaceTokens(taken);
}

void TokenRecordStore::clear() {
  saveAfter([] { OAuthInfo::sharedInstance().clearTokens(); });
}

void TokenRecordStore::save() {
  saveAfter([] {});
}

void TokenRecordStore::saveAfter(void (*change)()) {
  const auto set = [change] {
    const std::lock_guard lock(copying);
    change();
    toStore(fields());
  };
  withinMemory(set, [] { platform::log("user defaults cannot be saved : ", kNotEnoughMemory); });
  store().synchronize();
}

void TokenRecordStore::restore() {
  const std::uint64_t before = copies;
  const std::string_view keys[] = {VORNEL_HEADER_ACCESS_TOKEN, VORNEL_HEADER_REFRESH_TOKEN,
                                   VORNEL_OAUTH_END_EXPIRES_IN, VORNEL_OAUTH_EXPIRES_SYSTIME};
  auto stored = store().values(keys);
  if (!stored || stored->size() != std::size(keys)) return;
  const std::lock_guard lock(copying);
  if (copies != before) return;
  OAuthInfo::Fields tokens;
  tokens.accessToken.swap((*stored)[0]);
  tokens.refreshToken.swap((*stored)[1]);
  tokens.expiresIn.swap((*stored)[2]);
  tokens.expiresSystime.swap((*stored)[3]);
  // The scope is stored for others to read and is not restored: this is meant.
  OAuthInfo::sharedInstance().restoreTokens(tokens);
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
  store().setValues(entries);
  ++copies;
}

} // namespace quarnet
