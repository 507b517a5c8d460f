#include "sandbox/ParameterKeys.h"

#include "sandbox/Crypto.h"
#include "sandbox/Text.h"

#include <algorithm>
#include <optional>

namespace quarnet::sandbox {
namespace {

constexpr std::size_t kMostKeys = 100'000;
constexpr auto kLifetime = std::chrono::minutes(5);

/// A text that is too long for the cipher's buffer may be used cut or not at all by a client.
std::vector<std::string_view> usesOf(std::string_view text, std::size_t longest) {
  if (text.size() <= longest) return {text};
  return {text.substr(0, longest), {}};
}

bool isClean(std::string_view text) {
  return std::ranges::none_of(text, [](unsigned char c) { return c < ' '; });
}

std::optional<std::string> openedWith(const ParameterKey& key, std::string_view ciphertext) {
  for (const std::string_view keyText : usesOf(key.key, 32)) {
    for (const std::string_view ivText : usesOf(key.iv, 16)) {
      auto text = aes256Decrypted(keyText, ivText, ciphertext);
      if (text && isUtf8(*text)) return text;
    }
  }
  return std::nullopt;
}

} // namespace

ParameterKey ParameterKeys::issue(const std::string& swapKey, std::size_t keyLength,
                                  std::size_t ivLength) {
  ParameterKey key{randomText(keyLength), randomText(ivLength)};
  const auto now = std::chrono::steady_clock::now();
  const std::lock_guard lock(mutex_);
  forgetOld(now);
  bySwapKey_[swapKey].push_back({++lastId_, key});
  order_.push_back({now, lastId_, swapKey});
  return key;
}

ParameterKeys::Opened ParameterKeys::open(const std::string& swapKey, std::string_view ciphertext) {
  std::vector<Entry> candidates;
  {
    const std::lock_guard lock(mutex_);
    forgetOld(std::chrono::steady_clock::now());
    const auto found = bySwapKey_.find(swapKey);
    if (found == bySwapKey_.end()) return {Outcome::noKey, {}};
    candidates = found->second;
  }

  // One wrong key in 256 leaves padding that looks right; a text with control characters is
  // therefore taken only when no key gives one without.
  std::optional<std::pair<std::uint64_t, std::string>> best;
  for (const Entry& entry : candidates) {
    auto text = openedWith(entry.key, ciphertext);
    if (!text) continue;
    const bool clean = isClean(*text);
    if (clean || !best) best.emplace(entry.id, std::move(*text));
    if (clean) break;
  }
  if (!best) return {Outcome::doesNotOpen, {}};

  const std::lock_guard lock(mutex_);
  if (!remove(swapKey, best->first)) return {Outcome::noKey, {}};
  return {Outcome::opened, std::move(best->second)};
}

void ParameterKeys::forgetOld(std::chrono::steady_clock::time_point now) {
  while (!order_.empty() && (order_.size() > kMostKeys || order_.front().when + kLifetime < now)) {
    remove(order_.front().swapKey, order_.front().id);
    order_.pop_front();
  }
}

bool ParameterKeys::remove(const std::string& swapKey, std::uint64_t id) {
  const auto found = bySwapKey_.find(swapKey);
  if (found == bySwapKey_.end()) return false;
  const bool removed = std::erase_if(found->second, [&](const Entry& e) { return e.id == id; }) > 0;
  if (found->second.empty()) bySwapKey_.erase(found);
  return removed;
}

} // namespace quarnet::sandbox
