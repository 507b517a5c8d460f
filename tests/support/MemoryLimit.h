#pragma once

#include <cstddef>
#include <fstream>
#include <sys/resource.h>

namespace quarnet::test {

/// Lets the process have that much more memory than it has while the object lives.
class MemoryLimit {
public:
  explicit MemoryLimit(std::size_t more) {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    getrlimit(RLIMIT_AS, &before_);
    const rlimit limit{pages * 4096 + more, before_.rlim_max};
    setrlimit(RLIMIT_AS, &limit);
  }
  ~MemoryLimit() { setrlimit(RLIMIT_AS, &before_); }

private:
  rlimit before_{};
};

} // namespace quarnet::test
