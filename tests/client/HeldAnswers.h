#pragma once

#include "tests/support/Callbacks.h"

#include <deque>
#include <mutex>
#include <thread>

namespace quarnet::test {

/// Holds every asynchronous request until a test answers it; answers the others with `body`.
struct HeldAnswers final : platform::HttpClient {
  std::string body;
  long status = 200;
  /// Called before, with the address.
  std::function<void(const std::string&)> onSynchronousSend = [](const auto&) {};

  platform::HttpResult sendSynchronously(const platform::HttpRequest& request) override {
    onSynchronousSend(request.url);
    return {platform::HttpResponse{status}, body, std::nullopt};
  }
  void sendAsynchronously(std::shared_ptr<const platform::HttpRequest> request,
                          Completion completion) override {
    const std::lock_guard lock(mutex_);
    held_.emplace_back(request->url, std::move(completion));
  }

  std::size_t held() const {
    const std::lock_guard lock(mutex_);
    return held_.size();
  }

  /// Waits for a request, runs the main loop meanwhile, and answers the first one on a thread of
  /// its own. Gives its address.
  std::string answer(platform::HttpResult result) {
    platform::GlibMainThread::runUntil([this] { return held() > 0; }, std::chrono::seconds(30));
    std::unique_lock lock(mutex_);
    auto [url, completion] = std::move(held_.at(0));
    held_.pop_front();
    lock.unlock();
    std::thread([&, call = std::move(completion)] { call(std::move(result)); }).join();
    return url;
  }

private:
  mutable std::mutex mutex_;
  std::deque<std::pair<std::string, Completion>> held_;
};

} // namespace quarnet::test
