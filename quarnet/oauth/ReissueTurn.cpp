#include "quarnet/oauth/ReissueTurn.h"

#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/platform/OfProcess.h"

#include <map>
#include <memory>
#include <mutex>
#include <semaphore>
#include <utility>
#include <vector>

namespace quarnet {
namespace {

struct Turns {
  std::mutex mutex;
  /// The refresh tokens whose turn was taken, and who waits for them.
  std::map<Text, std::vector<std::function<void()>>> taken;
};

Turns& turns() {
  return platform::ofProcess<Turns>();
}

} // namespace

bool ReissueTurn::take(const Text& refreshToken, std::function<void()> whenFree) {
  const std::lock_guard lock(turns().mutex);
  const auto [place, isMine] = turns().taken.try_emplace(refreshToken);
  if (!isMine) place->second.push_back(std::move(whenFree));
  return isMine;
}

void ReissueTurn::giveBack(const Text& refreshToken) {
  decltype(Turns::taken)::node_type ended;
  {
    const std::lock_guard lock(turns().mutex);
    ended = turns().taken.extract(refreshToken);
  }
  for (const auto& whenFree : ended.mapped())
    whenFree();
}

ReissueTurn::ReissueTurn(std::chrono::milliseconds limit) : left_(limit) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + limit;
  const auto free = std::make_shared<std::binary_semaphore>(0);
  for (;;) {
    refreshToken_ = OAuthInfo::sharedInstance().refreshToken();
    if (take(refreshToken_, [free] { free->release(); })) return;
    const bool isFree = free->try_acquire_until(end);
    const auto left = std::chrono::floor<std::chrono::milliseconds>(end - Clock::now());
    left_ = std::max(left, std::chrono::milliseconds(0));
    if (!isFree || left_.count() == 0) break;
  }
  left_ = std::chrono::milliseconds(0);
}

ReissueTurn::~ReissueTurn() {
  if (left_.count() > 0) giveBack(refreshToken_);
}

} // namespace quarnet
