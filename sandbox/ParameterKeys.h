#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quarnet::sandbox {

/// A key and an IV as they travel: texts whose bytes are the cipher's.
struct ParameterKey {
  std::string key;
  std::string iv;
};

/// The one-time parameter keys that were handed out and not used yet, by swap key.
///
/// Two clients, or one within a millisecond, may come with the same swap key: each gets a key of
/// its own, and a call is opened with whichever of them fits. Keys live five minutes, and the
/// oldest go when there are too many. Safe from any thread.
class ParameterKeys {
public:
  /// Makes and remembers a key with texts of those lengths.
  ParameterKey issue(const std::string& swapKey, std::size_t keyLength, std::size_t ivLength);

  enum class Outcome { opened, noKey, doesNotOpen };
  struct Opened {
    Outcome outcome;
    std::string text;
  };
  /// Decrypts under a key of that swap key and uses the key up.
  Opened open(const std::string& swapKey, std::string_view ciphertext);

private:
  struct Entry {
    std::uint64_t id;
    ParameterKey key;
  };
  struct Issued {
    std::chrono::steady_clock::time_point when;
    std::uint64_t id;
    std::string swapKey;
  };

  void forgetOld(std::chrono::steady_clock::time_point now);
  bool remove(const std::string& swapKey, std::uint64_t id);

  std::mutex mutex_;
  std::unordered_map<std::string, std::vector<Entry>> bySwapKey_;
  std::deque<Issued> order_; ///< oldest first; may name keys that are used up
  std::uint64_t lastId_ = 0;
};

} // namespace quarnet::sandbox
