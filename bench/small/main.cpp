// quarnet-bench-small: the operations that take less than a moment. Run by scripts/bench.

#include "bench/small/Pairs.h"
#include "bench/support/Setting.h"

int main() {
  using namespace quarnet::bench;
  setUpLibrary();
  addEscaping();
  addEncryption();
  addQueryStrings();
  addTokenStore();
  runPairs();
  return 0;
}
