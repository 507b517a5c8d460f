#include "bench/support/Processor.h"

#include "bench/support/Failure.h"

namespace quarnet::bench {

OnFirstProcessor::OnFirstProcessor() {
  check(sched_getaffinity(0, sizeof(before_), &before_) == 0, "the processors are known");
  int first = 0;
  while (!CPU_ISSET(first, &before_))
    ++first;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(first, &one);
  check(sched_setaffinity(0, sizeof(one), &one) == 0, "the thread stays on one processor");
}

OnFirstProcessor::~OnFirstProcessor() {
  sched_setaffinity(0, sizeof(before_), &before_);
}

} // namespace quarnet::bench
