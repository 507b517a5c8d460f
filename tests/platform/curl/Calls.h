#pragma once

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace quarnet::test {

inline std::shared_ptr<platform::HttpRequest>
requestFor(std::string method, std::string url, Text body = {},
           std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
  return std::make_shared<platform::HttpRequest>(
      platform::HttpRequest{.url = std::move(url),
                            .method = std::move(method),
                            .body = body ? std::make_shared<Data>(*body) : nullptr,
                            .timeout = timeout});
}

/// What came of asynchronous sends: a failure's description or an answer's body. It outlives them.
class Calls {
public:
  /// Sends the request so many times.
  void send(platform::CurlHttpClient& client, const std::shared_ptr<platform::HttpRequest>& request,
            int times = 1) {
    for (int i = 0; i < times; ++i)
      client.sendAsynchronously(request, next());
  }
  /// The completion of one more send.
  platform::CurlHttpClient::Completion next() {
    const std::lock_guard lock(mutex_);
    told_.push_back(0);
    return [this, call = told_.size() - 1](const platform::HttpResult& result) {
      tell(call, result.error ? *result.error->description : result.body);
    };
  }

  /// Waits until each of the sends has completed, or so many have.
  bool wait(std::chrono::seconds limit = std::chrono::seconds(60), std::size_t most = SIZE_MAX) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit,
                             [&] { return completed_ >= std::min(most, told_.size()); });
  }
  /// The outcomes of all sends and how often each came; nothing when one was not told just once.
  std::map<std::string, int> outcomes() {
    const std::lock_guard lock(mutex_);
    if (std::count(told_.begin(), told_.end(), 1) != std::ssize(told_)) return {};
    return outcomes_;
  }

private:
  void tell(std::size_t call, const std::string& outcome) {
    const std::lock_guard lock(mutex_);
    ++told_[call];
    ++outcomes_[outcome];
    ++completed_;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<int> told_;
  std::map<std::string, int> outcomes_;
  std::size_t completed_ = 0;
};

} // namespace quarnet::test
