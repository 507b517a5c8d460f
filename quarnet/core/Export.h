#pragma once

// Every public header includes this one, so that an older standard gets this error first.
#if __cplusplus < 202002L
#error "quarnet needs C++20: compile with -std=c++20 or later"
#endif

/// Marks what the library exports; everything else stays inside.
#define QUARNET_EXPORT __attribute__((visibility("default")))
