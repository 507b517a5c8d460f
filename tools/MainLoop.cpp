#include "tools/MainLoop.h"

#include "tools/Command.h"
#include "tools/Terminal.h"

#include "quarnet/platform/glib/GlibMainThread.h"

#include <atomic>
#include <csignal>

namespace quarnet::tools {
namespace {

std::atomic<bool> isInterrupted = false;

void interrupt(int) {
  isInterrupted = true;
}

} // namespace

bool runUntil(const std::function<bool()>& isDone) {
  constexpr std::chrono::hours kAsLongAsItTakes(24 * 365);
  struct sigaction noted {};
  struct sigaction before {};
  noted.sa_handler = interrupt;
  noted.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &noted, &before);
  bool done = false;
  platform::GlibMainThread::runUntil([&] { return (done = isDone()) || isInterrupted; },
                                     kAsLongAsItTakes);
  sigaction(SIGINT, &before, nullptr);
  return done && !isInterrupted;
}

int interrupted() {
  tell("interrupted");
  return kInterrupted;
}

} // namespace quarnet::tools
