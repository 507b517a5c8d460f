#include "quarnet/platform/Platform.h"

#include <barrier>
#include <gtest/gtest.h>
#include <thread>

namespace quarnet::platform {
namespace {

TEST(PlatformDeathTest, WhatIsInstalledDuringTheFirstUseStays) {
  const auto log = std::make_shared<NullLog>();
  const auto install = [&log] {
    std::barrier both(2);
    const std::jthread user([&both] { both.arrive_and_wait(), Platform::current(); });
    both.arrive_and_wait();
    Platform::install({.log = log});
  };
  // A process has one first use, so that each round is a process of its own.
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(400);
  while (!HasFailure() && std::chrono::steady_clock::now() < end)
    EXPECT_EXIT((install(), _exit(Platform::current().log != log)), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace quarnet::platform
