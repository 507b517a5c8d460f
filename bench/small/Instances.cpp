#include "bench/small/Pairs.h"

#include "quarnet/oauth/OAuthInfo.h"

#include <mutex>
#include <string>

namespace quarnet::bench {
namespace {

struct Guarded {
  std::mutex mutex;
  std::string text;

  std::string read() {
    const std::lock_guard lock(mutex);
    return text;
  }
};

Guarded* plainGlobal = nullptr;

} // namespace

void addInstances() {
  plainGlobal = new Guarded{{}, OAuthInfo::sharedInstance().accessToken().value_or("")};
  add({.what = "sharedInstance",
       .measure = "time more than reading a plain global",
       .figure = Figure::nanosecondsMore,
       .bound = atMost(2, "ns"),
       .ours = repeat([] { return &OAuthInfo::sharedInstance(); }),
       .yardstick = repeat([] {
         benchmark::ClobberMemory();
         return plainGlobal;
       })});
  add({.what = "reading a field of the token record",
       .measure = "time, against a std::string copied under a mutex",
       .figure = Figure::time,
       .bound = atMost(1.5),
       .ours = repeat([] { return OAuthInfo::sharedInstance().accessToken(); }),
       .yardstick = repeat([] { return plainGlobal->read(); })});
}

} // namespace quarnet::bench
