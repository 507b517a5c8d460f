#pragma once

#include "quarnet/platform/HttpClient.h"

#include <memory>
#include <mutex>

namespace quarnet::tools {

/// Passes requests on and remembers how the last one ended, for the reasons that the session's
/// operations leave out.
class ObservedHttpClient final : public platform::HttpClient {
public:
  explicit ObservedHttpClient(std::shared_ptr<HttpClient> client) : client_(std::move(client)) {}

  platform::HttpResult sendSynchronously(const platform::HttpRequest& request) override;
  void sendAsynchronously(std::shared_ptr<const platform::HttpRequest> request,
                          Completion completion) override;

  /// Whether the last asynchronous send has ended and the callbacks that it caused have run. To be
  /// asked on the main thread.
  bool isDelivered() const { return delivered_; }

  /// How the last request ended, in words: the transport's error, or the status with what an error
  /// report says. Other answers may hold tokens and are not repeated.
  std::string outcome() const;

private:
  void note(const platform::HttpResult& result);

  std::shared_ptr<HttpClient> client_;
  bool delivered_ = false;
  mutable std::mutex mutex_;
  std::string outcome_;
};

} // namespace quarnet::tools
