#include "quarnet/client/ApiError.h"

namespace quarnet {

std::string_view describe(ApiErrorKind kind) {
  switch (kind) {
  case ApiErrorKind::InvalidCall:
    return "invalid call";
  case ApiErrorKind::SignedOut:
    return "signed out";
  case ApiErrorKind::KeyNotHad:
    return "no key for the parameters";
  case ApiErrorKind::NoConnection:
    return "no connection";
  case ApiErrorKind::TimedOut:
    return "timed out";
  case ApiErrorKind::Refused:
    return "refused";
  case ApiErrorKind::NotUtf8:
    return "answer is not UTF-8";
  case ApiErrorKind::Cancelled:
    return "cancelled";
  case ApiErrorKind::TooLarge:
    return "too large";
  }
  return "unknown";
}

std::string ApiError::description() const {
  std::string words(describe(kind));
  if (status != 0) words.append(" (").append(std::to_string(status)).append(")");
  if (!text.empty()) words.append(": ").append(text);
  return words;
}

} // namespace quarnet
