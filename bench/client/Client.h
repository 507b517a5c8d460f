#pragma once

namespace quarnet::bench {

// The second face (quarnet::Client). Each prints its rows. They need the servers of Setting.

/// The link of the first two is a DelayingProxy of 50 ms a round trip.
void measureFirstGet();
void measureTwentyGets();
void measureManyCalls();
void measureUnauthorized();
void measureClientMemory();

/// One GET of a fresh process, once: prints its seconds. The server is that of Setting.
void firstGetOurs();
void firstGetRaw();

/// Has that many calls in flight at once, once; run in a process of its own to see the memory.
void holdClientCalls(int count);

} // namespace quarnet::bench
