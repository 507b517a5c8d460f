#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <ostream>
#include <string>
#include <string_view>

namespace quarnet {

/// Why there is no answer.
enum class ApiErrorKind {
  /// The call itself is wrong: no address, a method or a format that there is not, parts that do
  /// not go together, no client identifier, a file that cannot be read. Nothing was sent.
  InvalidCall,
  /// Nobody is signed in, or the server does not take the tokens any more.
  SignedOut,
  /// The one-time key for the parameters could not be had, so the call was not sent.
  KeyNotHad,
  /// No answer came, or only a part of one.
  NoConnection,
  /// The call's time was up.
  TimedOut,
  /// An answer came whose status is not one of 200 to 299 (RFC 9110, section 15).
  Refused,
  /// An answer came that is no UTF-8.
  NotUtf8,
  /// The caller cancelled the call.
  Cancelled,
  /// The call or its answer does not fit into the memory or the transport's limit.
  TooLarge,
};

/// Why there is no answer, for a program and for a person.
struct QUARNET_EXPORT ApiError {
  /// What a program decides by.
  ApiErrorKind kind = ApiErrorKind::InvalidCall;
  /// One sentence for people. It quotes neither tokens nor parameters.
  std::string text = {};
  /// The status of Refused and NotUtf8; 0 for the others.
  long status = 0;
  /// The body of Refused and NotUtf8; empty for the others.
  Data body = {};
  /// The head of Refused and NotUtf8, as an Answer has it; empty for the others.
  std::string head = {};

  /// The kind in words, the status if there is one, and the text: "refused (403): ...".
  std::string description() const;
};

/// The kind in a few words: "timed out".
QUARNET_EXPORT std::string_view describe(ApiErrorKind kind);

/// Writes description().
inline std::ostream& operator<<(std::ostream& out, const ApiError& error) {
  return out << error.description();
}

} // namespace quarnet
