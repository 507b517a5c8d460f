#include "quarnet/platform/Platform.h"

#include <barrier>
#include <gtest/gtest.h>
#include <thread>

namespace quarnet::platform {
namespace {

using namespace std::chrono_literals;

// A process has one first use, so that each round is a process.
TEST(PlatformDeathTest, WhatIsInstalledDuringTheFirstUseStays) {
  const auto isKept = [] {
    const auto log = std::make_shared<NullLog>();
    std::barrier both(2);
    std::thread user([&] {
      both.arrive_and_wait();
      Platform::current();
    });
    both.arrive_and_wait();
    Platform::install({.log = log});
    user.join();
    return Platform::current().log == log;
  };
  const auto end = std::chrono::steady_clock::now() + 400ms;
  while (!HasFailure() && std::chrono::steady_clock::now() < end)
    EXPECT_EXIT(_exit(isKept() ? 0 : 1), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace quarnet::platform
