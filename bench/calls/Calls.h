#pragma once

namespace quarnet::bench {

// Each prints its rows. They need the servers of Setting.
void measureSynchronousGet();
void measureSynchronousPost();
void measureAsynchronousPost();
void measureCpuGrowth();
void measureMemoryGrowth();

/// Has that many calls in flight at once, once; run in a process of its own to see the memory.
void holdInFlight(int count);
void holdInFlightRaw(int count);

} // namespace quarnet::bench
