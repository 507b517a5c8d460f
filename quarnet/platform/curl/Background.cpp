#include "quarnet/platform/curl/Background.h"

#include "quarnet/platform/BlockedSignals.h"

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

namespace quarnet::platform {
namespace {

constexpr unsigned kWorkers = 2;
constexpr std::chrono::seconds kPatienceAtExit{5};

/// What the process's end has to end.
struct Live {
  std::mutex mutex;
  std::vector<std::weak_ptr<Background>> backgrounds;
  bool isRegisteredAtExit = false;
};

/// Never destroyed, since clients may be used while the process ends.
Live& live() {
  static Live* const instance = new Live;
  return *instance;
}

} // namespace

std::shared_ptr<Background> Background::make(TrustStore& trust, std::size_t maximumBodySize) {
  const BlockedSignals blocked;
  std::shared_ptr<Background> background(new Background(trust, maximumBodySize));
  const std::lock_guard lock(live().mutex);
  std::erase_if(live().backgrounds, [](const auto& entry) { return entry.expired(); });
  live().backgrounds.push_back(background);
  // Registered after libcurl and OpenSSL registered theirs, and so run before them.
  if (!std::exchange(live().isRegisteredAtExit, true)) std::atexit(endAll);
  return background;
}

Background::Background(TrustStore& trust, std::size_t maximumBodySize)
    : workers_(kWorkers), loop_(trust, maximumBodySize, workers_) {}

Background::~Background() {
  loop_.stop("The HTTP client was destroyed");
}

void Background::endAll() {
  std::vector<std::weak_ptr<Background>> ending;
  {
    const std::lock_guard lock(live().mutex);
    ending.swap(live().backgrounds);
    // A client that is made later registers endAll() again.
    live().isRegisteredAtExit = false;
  }
  for (const auto& entry : ending) {
    const std::shared_ptr<Background> background = entry.lock();
    // The threads of a process that forked are not in its child.
    if (background == nullptr || background->forks_ != forkCount()) continue;
    background->loop_.stop("The process is ending");
    background->workers_.finish(kPatienceAtExit);
  }
}

} // namespace quarnet::platform
