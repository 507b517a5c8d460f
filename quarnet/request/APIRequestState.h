#pragma once

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Registration.h"
#include "quarnet/request/APIRequest.h"

#include <mutex>

namespace quarnet {

/// What an APIRequest shares with the completions of its calls, so that it may be dropped while
/// they are under way.
struct __attribute__((visibility("hidden"))) APIRequest::State {
  std::mutex mutex;
  std::optional<Data> receivedData;
  std::optional<platform::HttpResponse> response;
  Text result;
  std::optional<HttpHeader> httpHeader;
  const std::shared_ptr<Registration> registration = std::make_shared<Registration>();

  /// Takes the outcome of an asynchronous call and passes it on to who is registered.
  void answered(platform::HttpResult answer);
  void report(platform::HttpResult answer);
  /// Reports a call that the memory was too small for.
  void failForMemory();
};

} // namespace quarnet
