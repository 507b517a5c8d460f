#pragma once

#include "quarnet/core/HttpHeader.h"
#include "quarnet/core/Registration.h"
#include "quarnet/platform/HttpClient.h"

#include <memory>
#include <mutex>

namespace quarnet {

/// What the asynchronous calls of an APIRequest leave in it, and who is called back. Shared with
/// the completions of these calls, so that the APIRequest may be dropped while they are under way.
/// Safe from any thread.
class AsynchronousAnswer {
public:
  /// Keeps the text of a call's answer and calls back: the finished operation for status 200 with a
  /// body, else the failed one, also when the memory does not suffice.
  void take(platform::HttpResult answer);

  /// Calls the failed operation with "RC" `code` and "RM" `message`.
  void fail(Text code, Text message) const;
  void failForMemory() const;

  template <class Value>
  Value read(Value AsynchronousAnswer::*field) const {
    const std::lock_guard lock(mutex_);
    return this->*field;
  }
  template <class Value>
  void write(Value AsynchronousAnswer::*field, Value value) {
    const std::lock_guard lock(mutex_);
    std::swap(this->*field, value);
  }

  // To be used through read() and write().
  std::optional<Data> receivedData;
  std::optional<platform::HttpResponse> response;
  Text result;
  std::optional<HttpHeader> httpHeader;

  const std::shared_ptr<Registration> registration = std::make_shared<Registration>();

private:
  void report(platform::HttpResult answer);

  mutable std::mutex mutex_;
};

} // namespace quarnet
