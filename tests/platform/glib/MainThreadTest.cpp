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
