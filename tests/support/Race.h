#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace quarnet::test {

/// Changes something on another thread for half a second, and until that and the looks here were
/// many. Gives how many looks saw half of a change. `change` gets 0 and 1 in turns.
inline int halfSeen(const std::function<void(int)>& change, const std::function<bool()>& isWhole) {
  constexpr int kEach = 10'000;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
  std::atomic<int> changes = 0;
  std::atomic<bool> ended = false;
  change(1);
  std::thread changer([&] {
    for (; !ended; ++changes)
      change(changes % 2);
  });
  int half = 0;
  for (int looks = 0; looks < kEach || changes < kEach || std::chrono::steady_clock::now() < end;
       ++looks)
    half += isWhole() ? 0 : 1;
  ended = true;
  changer.join();
  return half;
}

} // namespace quarnet::test
