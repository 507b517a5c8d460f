#include "quarnet/platform/Platform.h"
#include "quarnet/platform/glib/GlibMainThread.h"

#include <gmock/gmock.h>
#include <thread>

namespace quarnet::platform {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST(MainThread, ACallThatRunsTheLoopDoesNotChangeTheOrder) {
  GlibMainThread mainThread;
  std::vector<std::string> order;
  mainThread.post([&] {
    order.push_back("first begins");
    mainThread.post([&] { order.push_back("third"); });
    EXPECT_TRUE(GlibMainThread::runUntil([&] { return order.size() >= 3; }, 10s));
    order.push_back("first ends");
  });
  mainThread.post([&] { order.push_back("second"); });
  EXPECT_TRUE(GlibMainThread::runUntil([&] { return order.size() >= 4; }, 10s));
  EXPECT_THAT(order, ElementsAre("first begins", "second", "third", "first ends"));

  mainThread.post([&] { order.clear(); });
  EXPECT_TRUE(GlibMainThread::runUntil([&] { return order.empty(); }, 10s));
}

TEST(MainThread, ACallThatThrowsCostsNoOther) {
  Platform::install({.log = std::make_shared<NullLog>()});
  GlibMainThread mainThread;
  int ran = 0;
  for (int i = 0; i < 5; ++i) {
    mainThread.post([&ran, i] {
      ++ran;
      if (i == 1) throw std::runtime_error("one of the application's");
      if (i == 2) throw 2;
    });
  }
  EXPECT_TRUE(GlibMainThread::runUntil([&] { return ran == 5; }, std::chrono::milliseconds::max()));
}

TEST(MainThread, PostsOfOneThreadKeepTheirOrderAndOutliveTheirMaker) {
  std::vector<int> order;
  std::thread([&order] {
    GlibMainThread mainThread;
    for (int i = 0; i < 1000; ++i)
      mainThread.post([&order, i] { order.push_back(i); });
  }).join();
  EXPECT_TRUE(GlibMainThread::runUntil([&] { return order.size() == 1000; }, 10s));
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

} // namespace
} // namespace quarnet::platform
