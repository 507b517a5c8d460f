#pragma once

#include "quarnet/core/Types.h"

namespace quarnet {

/// What came back from a synchronous call.
class ResponseMessage {
public:
  /// The HTTP status code in decimal; "0" when there was no HTTP answer.
  const Text& statusCode() const { return statusCode_; }
  void setStatusCode(Text statusCode) { statusCode_ = std::move(statusCode); }

  /// The body; absent when there was none or it is not valid UTF-8.
  const Text& resultMessage() const { return resultMessage_; }
  void setResultMessage(Text resultMessage) { resultMessage_ = std::move(resultMessage); }

private:
  Text statusCode_;
  Text resultMessage_;
};

} // namespace quarnet
