#pragma once

#include <sched.h>

namespace quarnet::bench {

/// Keeps the calling thread on the first processor while it lives; the sandbox runs on the last
/// one. Which of the two a call or its answer happens to meet would weigh more than what is
/// measured.
class OnFirstProcessor {
public:
  OnFirstProcessor();
  ~OnFirstProcessor();
  OnFirstProcessor(const OnFirstProcessor&) = delete;
  OnFirstProcessor& operator=(const OnFirstProcessor&) = delete;

private:
  cpu_set_t before_;
};

} // namespace quarnet::bench
