#pragma once

#include <string_view>

namespace quarnet::platform {

/// How an attempt to send a request failed.
struct FailedAttempt {
  std::string_view method;
  /// See HttpRequest.
  bool isForOnce = false;
  /// Whether any byte of an answer arrived.
  bool wasAnswered = false;
  /// Whether the connection ended; false for a time-out, for instance.
  bool connectionDied = false;
  /// Whether the connection had carried requests before or been opened ahead: the server may have
  /// closed it for being idle, without having seen this one.
  bool wasReused = false;
  /// Whether no byte of the request, head or body, was written, or the server said that it did not
  /// process it (RFC 9113, section 8.7).
  bool wasUntouched = false;
  /// How often the request had been sent again before.
  int resends = 0;
};

inline constexpr int kMaximumResends = 4;

/// Whether the request may be sent again (RFC 9110, section 9.2.2). What the server may have seen
/// is sent again once, and only when doing it twice is the same as doing it once.
constexpr bool maySendAgain(const FailedAttempt& attempt) {
  if (attempt.wasAnswered) return false;
  if (attempt.wasUntouched) return attempt.resends < kMaximumResends;
  const bool isIdempotent = attempt.method == "GET" || attempt.method == "HEAD" ||
                            attempt.method == "PUT" || attempt.method == "DELETE";
  return attempt.connectionDied && attempt.wasReused && isIdempotent && !attempt.isForOnce &&
         attempt.resends == 0;
}

} // namespace quarnet::platform
