#pragma once

#include "sandbox/Misbehaviour.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::sandbox {

/// Which paths are answered wrongly, and how. Safe from any thread.
class Faults {
public:
  /// Adds to what the path has; the same kind again replaces the earlier one.
  void add(std::string path, Misbehaviour misbehaviour);
  void clear();

  /// What is to go wrong with one request for the path, counted as one of the `times` of each.
  std::vector<Misbehaviour> take(std::string_view path);

private:
  std::mutex mutex_;
  std::map<std::string, std::vector<Misbehaviour>, std::less<>> byPath_;
};

} // namespace quarnet::sandbox
