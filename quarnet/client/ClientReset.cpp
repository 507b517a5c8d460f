#include "quarnet/client/ClientReset.h"

#include "quarnet/client/Timer.h"
#include "quarnet/client/Worker.h"
#include "quarnet/oauth/TokenRecordStore.h"

namespace quarnet {

void resetClient() {
  Timer::shared().runAll();
  waitForWorkers();
  TokenRecordStore::forgetLoss();
}

} // namespace quarnet
