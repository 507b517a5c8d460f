#pragma once

namespace quarnet::usage {

/// What the exit status of every program of this tree says.
enum ExitCode {
  kDone = 0,
  kFailed = 1,
  kWrongUsage = 2,
  // The ways in which a login ends that failed neither here nor on the way to the server.
  kClosedByUser = 3,
  kRefusedByServer = 4,
  kExchangeFailed = 5,
  /// Nobody is signed in, or the server does not take the tokens any more.
  kSignedOut = 6,
  kInterrupted = 130,
};

} // namespace quarnet::usage
