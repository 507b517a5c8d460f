#include "quarnet/client/Worker.h"

#include "quarnet/platform/BlockedSignals.h"
#include "quarnet/platform/OfProcess.h"
#include "quarnet/platform/WorkerPool.h"

#include <system_error>
#include <utility>

namespace quarnet {
namespace {

struct Workers {
  platform::WorkerPool pool{2};
};

Workers& workers() {
  const platform::BlockedSignals blocked;
  return platform::ofProcess<Workers>();
}

} // namespace

bool runOnWorker(std::function<void()> call) {
  try {
    workers().pool.run({std::move(call)});
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

void waitForWorkers() {
  workers().pool.waitUntilIdle();
}

} // namespace quarnet
