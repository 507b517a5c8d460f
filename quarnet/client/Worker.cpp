#include "quarnet/client/Worker.h"

#include "quarnet/platform/BlockedSignals.h"
#include "quarnet/platform/OfProcess.h"
#include "quarnet/platform/WorkerPool.h"

#include <atomic>
#include <system_error>
#include <utility>

namespace quarnet {
namespace {

struct Workers {
  std::atomic<std::size_t> calls = 0;
  platform::WorkerPool pool{2};
};

Workers& workers() {
  const platform::BlockedSignals blocked;
  return platform::ofProcess<Workers>();
}

} // namespace

bool runOnWorker(std::function<void()> call) {
  try {
    ++workers().calls;
    workers().pool.run({std::move(call)});
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

std::size_t waitForWorkers() {
  const std::size_t calls = workers().calls;
  workers().pool.waitUntilIdle();
  return calls;
}

} // namespace quarnet
