#pragma once

#include "quarnet/quarnet.h"

#include <chrono>
#include <thread>
#include <vector>

namespace quarnet::test {

/// An application's object that is called back, and what it heard.
class Callbacks {
public:
  struct Heard {
    bool finished = false;
    ResultDictionary result;
  };

  void finished(const ResultDictionary& result) { hear(true, result); }
  void failed(const ResultDictionary& result) { hear(false, result); }

  /// Runs the main loop until that many callbacks came; false when they do not within the limit.
  bool waitFor(std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(60)) {
    return platform::GlibMainThread::runUntil([&] { return heard.size() >= count; }, limit);
  }

  /// Runs the main loop for a moment, for callbacks that must not come.
  static void letPass(std::chrono::milliseconds time = std::chrono::milliseconds(100)) {
    platform::GlibMainThread::runUntil([] { return false; }, time);
  }

  std::vector<Heard> heard;
  /// Callbacks that came on another thread than the one that made this object.
  int onWrongThread = 0;

private:
  void hear(bool finished, const ResultDictionary& result) {
    if (std::this_thread::get_id() != mainThread_) ++onWrongThread;
    heard.push_back({finished, result});
  }

  std::thread::id mainThread_ = std::this_thread::get_id();
};

inline ResultDictionary outcome(std::string code, std::string message, std::string data) {
  return resultDictionary(std::move(code), std::move(message), std::move(data));
}

} // namespace quarnet::test
