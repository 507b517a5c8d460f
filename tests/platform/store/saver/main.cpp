#include "tests/platform/store/Generation.h"

#include "quarnet/platform/Platform.h"
#include "quarnet/platform/sqlite/SqliteUserDefaults.h"

#include <atomic>
#include <cstdlib>
#include <unistd.h>

using namespace quarnet::platform;

namespace {

class CountingLog final : public Log {
public:
  void write(Line) override { ++lines; }
  std::atomic<int> lines = 0;
};

} // namespace

/// saver PATH FIRST COUNT: saves records from number FIRST on and writes the number of each to
/// standard output once it is saved; ends with the number of log lines.
int main(int, char** arguments) {
  const auto log = std::make_shared<CountingLog>();
  Platform::install({.log = log});
  SqliteUserDefaults store(arguments[1]);
  const long first = std::atol(arguments[2]);
  const long end = first + std::atol(arguments[3]);
  for (long generation = first; generation < end; ++generation) {
    saveGeneration(store, generation);
    if (write(STDOUT_FILENO, &generation, sizeof(generation)) != sizeof(generation)) break;
  }
  return log->lines;
}
