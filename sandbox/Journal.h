#pragma once

#include "sandbox/ReceivedRequest.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace quarnet::sandbox {

/// What came in, in order: the newest requests, within fixed bounds. Safe from any thread.
class Journal {
public:
  void add(std::shared_ptr<const ReceivedRequest> request);
  std::vector<ReceivedRequest> all() const;
  void clear();
  /// Every request ever added.
  std::uint64_t count() const;

private:
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<const ReceivedRequest>> requests_;
  std::size_t bytes_ = 0;
  std::uint64_t count_ = 0;
};

} // namespace quarnet::sandbox
